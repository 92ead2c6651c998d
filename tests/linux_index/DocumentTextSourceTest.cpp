#include "linux/index/DocumentTextSource.h"

#include "base/TextExtensions.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

using namespace vennic;
using namespace vennic::index;

class ReaderFake final : public DocumentReader {
public:
    DocumentText plainText(const QString& path, qint64 maxChars) override { return answer("plain", path, maxChars); }
    DocumentText rtf(const QString& path, qint64 maxChars) override { return answer("rtf", path, maxChars); }
    DocumentText pdf(const QString& path, qint64 maxChars) override { return answer("pdf", path, maxChars); }
    std::optional<DocumentFault> fault;
    qint64 asked = 0;
    std::function<void()> beforeReading;

private:
    DocumentText answer(const char* form, const QString& path, qint64 maxChars) {
        if (beforeReading)
            beforeReading();
        if (fault)
            throw DocumentReadError(*fault, QStringLiteral("non"));
        asked = maxChars;
        QFile file(path);
        return {QString::fromLatin1(form) +
                    (file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString()),
                false, 0};
    }
};

class TypesFake final : public FileTypes {
public:
    std::optional<QString> typeForExtension(const QString& extension) const override {
        return extension == QStringLiteral("tex") ? QStringLiteral("public.text") : QStringLiteral("dyn.x");
    }
    bool conforms(const QString& type, const QString& ancestor) const override { return type == ancestor; }
    QString typeForFile(const QString&, bool) const override { return {}; }
};

class DocumentTextSourceTest : public ::testing::Test {
protected:
    QTemporaryDir folder;
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
    QFile file(folder.filePath(QStringLiteral("file")));
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    file.write("é");
    file.flush();
    const TextSource::Result result = source.read(file.handle(), "x.rtf");
    EXPECT_EQ(result.outcome, TextSource::Outcome::text);
    EXPECT_EQ(result.text, "rtfé");
    EXPECT_GE(reader.asked, 10485760);
}

TEST_F(DocumentTextSourceTest, doesNotReadWhatHasTakenTheFilesPlace) {
    QFile file(folder.filePath(QStringLiteral("file")));
    QFile other(folder.filePath(QStringLiteral("other")));
    ASSERT_TRUE(file.open(QIODevice::ReadWrite) && other.open(QIODevice::ReadWrite));
    ASSERT_TRUE(QFile::remove(file.fileName()));
    EXPECT_EQ(source.read(file.handle(), "x.txt").outcome, TextSource::Outcome::refused);
    reader.beforeReading = [&] {
        QFile::remove(other.fileName());
        QFile::link(QStringLiteral("/etc/passwd"), other.fileName());
    };
    EXPECT_EQ(source.read(other.handle(), "x.txt").outcome, TextSource::Outcome::refused);
}

TEST_F(DocumentTextSourceTest, tellsADeadReaderFromAnUnreadableDocument) {
    QFile file(folder.filePath(QStringLiteral("file")));
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    reader.fault = DocumentFault::worker;
    EXPECT_EQ(source.read(file.handle(), "x.txt").outcome, TextSource::Outcome::failed);
    reader.fault = DocumentFault::unparsable;
    EXPECT_EQ(source.read(file.handle(), "x.txt").outcome, TextSource::Outcome::refused);
    EXPECT_EQ(source.read(file.handle(), "x.bin").outcome, TextSource::Outcome::refused);
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
