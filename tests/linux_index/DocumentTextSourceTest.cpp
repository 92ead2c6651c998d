#include "linux/index/DocumentTextSource.h"

#include "base/TextExtensions.h"
#include "linux/worker/WorkerFailure.h"

#include <QFile>
#include <QTemporaryFile>

#include <gtest/gtest.h>

namespace {

using namespace vennic;
using namespace vennic::index;

class ReaderFake final : public OpenDocumentReader {
public:
    DocumentText readOpen(DocumentForm form, int descriptor, const QString& name, qint64 maxChars) override {
        if (cause)
            throw WorkerFailure(*cause, QStringLiteral("non"));
        if (fault)
            throw DocumentReadError(*fault, QStringLiteral("non"));
        asked = maxChars;
        asForm = form;
        QFile file;
        if (!file.open(descriptor, QIODevice::ReadOnly))
            return {};
        return {name + QString::fromUtf8(file.readAll()), false, 0};
    }
    bool isEnding() const override { return ending; }
    bool ending = false;
    std::optional<DocumentFault> fault;
    std::optional<WorkerFailure::Cause> cause;
    std::optional<DocumentForm> asForm;
    qint64 asked = 0;
};

class TypesFake final : public FileTypes {
public:
    std::optional<QString> typeForExtension(const QString& extension) const override {
        return extension == QStringLiteral("tex") ? QStringLiteral("public.text") : QStringLiteral("dyn.x");
    }
    bool conforms(const QString& type, const QString& ancestor) const override { return type == ancestor; }
    std::optional<QString> mimeTypeForExtension(const QString&) const override { return std::nullopt; }
    QString typeForFile(const QString&, bool) const override { return {}; }
};

class DocumentTextSourceTest : public ::testing::Test {
protected:
    ReaderFake reader;
    TypesFake types;
    DocumentTextSource source{reader, types};
};

TEST_F(DocumentTextSourceTest, choosesTheRoadByExtensionThenByType) {
    using Form = TextSource::Form;
    EXPECT_EQ(source.formOf("a.PDF"), Form::rich);
    EXPECT_EQ(source.formOf("a.rtf"), Form::rich);
    EXPECT_EQ(source.formOf("a.TXT"), Form::plain);
    EXPECT_EQ(source.formOf("a.tex"), Form::plain);
    EXPECT_EQ(source.formOf("a.docx"), Form::none);
    EXPECT_EQ(source.formOf("sans"), Form::none);
    EXPECT_EQ(source.formOf(".txt"), Form::none);
    EXPECT_EQ(source.formOf("a."), Form::none);
}

TEST_F(DocumentTextSourceTest, givesTheReaderTheOpenFileAndAsksForAllOfIt) {
    QTemporaryFile file;
    ASSERT_TRUE(file.open());
    file.write("é");
    file.seek(0);
    const TextSource::Result result = source.read(file.handle(), "x.rtf");
    EXPECT_EQ(result.outcome, TextSource::Outcome::text);
    EXPECT_EQ(result.text, "x.rtfé");
    EXPECT_EQ(reader.asForm, DocumentForm::rtf);
    EXPECT_GE(reader.asked, 10485760);
}

TEST_F(DocumentTextSourceTest, aReaderThatIsEndingSaysNothingOfTheDocument) {
    reader.cause = WorkerFailure::Cause::interrupted;
    reader.ending = true;
    EXPECT_EQ(source.read(0, "x.txt").outcome, TextSource::Outcome::ended);
}

TEST_F(DocumentTextSourceTest, tellsWhoseFaultItIsThatADocumentGaveNoText) {
    const auto outcomeOf = [&](WorkerFailure::Cause cause) {
        reader.cause = cause;
        return source.read(0, "x.txt").outcome;
    };
    EXPECT_EQ(outcomeOf(WorkerFailure::Cause::unavailable), TextSource::Outcome::unavailable);
    EXPECT_EQ(outcomeOf(WorkerFailure::Cause::interrupted), TextSource::Outcome::interrupted);
    EXPECT_EQ(outcomeOf(WorkerFailure::Cause::document), TextSource::Outcome::crashed);
    reader.cause.reset();
    reader.fault = DocumentFault::unreadable; // of an open file: a disk or a network that fails
    EXPECT_EQ(source.read(0, "x.txt").outcome, TextSource::Outcome::interrupted);
    reader.fault = DocumentFault::unparsable;
    EXPECT_EQ(source.read(0, "x.txt").outcome, TextSource::Outcome::refused);
    EXPECT_EQ(source.read(0, "x.bin").outcome, TextSource::Outcome::refused);
}

TEST(TextExtensions, areTakenInAnyCase) {
    EXPECT_TRUE(countsAsText(u"txt"));
    EXPECT_TRUE(countsAsText(u"Swift"));
    EXPECT_TRUE(countsAsText(u"R"));
    EXPECT_FALSE(countsAsText(u"docx"));
    EXPECT_FALSE(countsAsText(u""));
    EXPECT_FALSE(countsAsText(u".txt"));
}

} // namespace
