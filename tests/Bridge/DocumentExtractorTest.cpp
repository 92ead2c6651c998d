#include "Bridge/DocumentExtractor.h"

#include "Bridge/DocumentReaderScript.h"
#include "Bridge/ExtractorError.h"
#include "base/TextExtensions.h"
#include "fakes/FileSystemFake.h"
#include "fakes/FileTypesFake.h"

#include <gtest/gtest.h>

using namespace vennic;
using namespace vennic::test;

namespace {

struct DocumentExtractorTest : ::testing::Test {
    std::shared_ptr<DocumentReaderScript> reader = std::make_shared<DocumentReaderScript>();
    std::shared_ptr<FileTypesFake> types = std::make_shared<FileTypesFake>();
    std::shared_ptr<FileSystemFake> files = std::make_shared<FileSystemFake>();
    DocumentExtractor extractor{reader, types, files};

    void document(const QString& path, const DocumentReaderScript::Document& content, std::optional<qint64> size = 1) {
        files->addFile(path, size);
        reader->documents[path] = content;
    }
    ExtractedContent extract(const QString& path, qint64 maxChars = 8000) const {
        return extractor.extract(FileURL{path}, maxChars);
    }
    QString failure(const QString& path) const {
        try {
            extract(path);
        } catch (const ExtractorError& error) {
            return error.errorDescription();
        }
        return {};
    }
};

DocumentReaderScript::Failure fault(DocumentFault fault) { return {fault, QStringLiteral("raison")}; }

} // namespace

TEST_F(DocumentExtractorTest, tenMebibytesAreReadAndOneByteMoreIsNot) {
    document(QStringLiteral("/a.txt"), QStringLiteral("x"), 10'485'760);
    EXPECT_EQ(extract(QStringLiteral("/a.txt")).text, QStringLiteral("x"));
    document(QStringLiteral("/b.txt"), QStringLiteral("x"), 10'485'761);
    EXPECT_EQ(failure(QStringLiteral("/b.txt")), QStringLiteral("Fichier trop gros (10240 Ko)"));
    document(QStringLiteral("/c.zip"), QStringLiteral("x"), 20'000'000);
    EXPECT_EQ(failure(QStringLiteral("/c.zip")), QStringLiteral("Fichier trop gros (19531 Ko)"));
    EXPECT_EQ(reader->calls().size(), 1);
}

TEST_F(DocumentExtractorTest, anUnknownSizePasses) {
    document(QStringLiteral("/a.txt"), QStringLiteral("x"), std::nullopt);
    EXPECT_EQ(extract(QStringLiteral("/a.txt")).text, QStringLiteral("x"));
    files->unreadable.insert(QStringLiteral("/a.txt"));
    EXPECT_EQ(extract(QStringLiteral("/a.txt")).text, QStringLiteral("x"));
}

TEST_F(DocumentExtractorTest, theFormIsChosenByExtensionThenByKinship) {
    types->types.erase(QStringLiteral("pdf"));
    types->types.erase(QStringLiteral("rtf"));
    types->types[QStringLiteral("rtfd2")] = QStringLiteral("public.rtf");
    for (const char16_t* path :
         {u"/a.PDF", u"/a.ai", u"/a.RTF", u"/a.rtfd2", u"/a.text", u"/a.TXT", u"/a.swift", u"/a.yml"}) {
        document(QStringView(path).toString(), QStringLiteral("x"));
        extract(QStringView(path).toString(), 5);
    }
    EXPECT_EQ(reader->calls().join(u','), QStringLiteral("pdf /a.PDF 5,pdf /a.ai 5,rtf /a.RTF 5,rtf /a.rtfd2 5,"
                                                         "text /a.text 5,text /a.TXT 5,text /a.swift 5,text /a.yml 5"));
}

TEST_F(DocumentExtractorTest, whatIsNotTextIsRefusedWithItsType) {
    document(QStringLiteral("/a.zip"), QStringLiteral("x"));
    document(QStringLiteral("/a.docx"), QStringLiteral("x"));
    document(QStringLiteral("/a.Xyz"), QStringLiteral("x"));
    document(QStringLiteral("/Makefile"), QStringLiteral("x"));
    document(QStringLiteral("/.env"), QStringLiteral("x"));
    EXPECT_EQ(failure(QStringLiteral("/a.zip")), QStringLiteral("Format non supporté (public.zip-archive)"));
    EXPECT_EQ(failure(QStringLiteral("/a.docx")),
              QStringLiteral("Format non supporté (org.openxmlformats.wordprocessingml.document)"));
    EXPECT_EQ(failure(QStringLiteral("/a.Xyz")), QStringLiteral("Format non supporté (dyn.xyz)"));
    EXPECT_EQ(failure(QStringLiteral("/Makefile")), QStringLiteral("Format non supporté ()"));
    EXPECT_EQ(failure(QStringLiteral("/.env")), QStringLiteral("Format non supporté ()"));
    EXPECT_TRUE(reader->calls().isEmpty());
}

TEST_F(DocumentExtractorTest, theSizeOfTheFileIsToldForTextAndRtfAndOfTheTextForPdf) {
    for (const char16_t* path : {u"/a.txt", u"/a.rtf", u"/a.pdf"})
        document(QStringView(path).toString(), QStringLiteral("éàü et la suite"));
    EXPECT_EQ(extract(QStringLiteral("/a.txt"), 3), (ExtractedContent{QStringLiteral("éàü"), true, 4096}));
    EXPECT_EQ(extract(QStringLiteral("/a.rtf"), 100),
              (ExtractedContent{QStringLiteral("éàü et la suite"), false, 4096}));
    EXPECT_EQ(extract(QStringLiteral("/a.pdf"), 3), (ExtractedContent{QStringLiteral("éàü"), true, 6}));
}

TEST_F(DocumentExtractorTest, noCharacterAtAllGivesAnEmptyTruncatedText) {
    document(QStringLiteral("/a.txt"), QStringLiteral("x"));
    EXPECT_EQ(extract(QStringLiteral("/a.txt"), 0), (ExtractedContent{{}, true, 4096}));
    EXPECT_EQ(extract(QStringLiteral("/a.txt"), -3), (ExtractedContent{{}, true, 4096}));
}

TEST_F(DocumentExtractorTest, aPdfWithoutTextIsNoFailure) {
    document(QStringLiteral("/a.pdf"), QString());
    EXPECT_EQ(extract(QStringLiteral("/a.pdf")), ExtractedContent{});
}

TEST_F(DocumentExtractorTest, eachFaultHasItsWords) {
    document(QStringLiteral("/a.pdf"), fault(DocumentFault::unparsable));
    document(QStringLiteral("/b.pdf"), fault(DocumentFault::unreadable));
    document(QStringLiteral("/c.pdf"), fault(DocumentFault::worker));
    document(QStringLiteral("/a.rtf"), fault(DocumentFault::unparsable));
    document(QStringLiteral("/b.rtf"), fault(DocumentFault::unreadable));
    document(QStringLiteral("/c.rtf"), fault(DocumentFault::worker));
    document(QStringLiteral("/b.txt"), fault(DocumentFault::unreadable));
    document(QStringLiteral("/c.txt"), fault(DocumentFault::worker));
    EXPECT_EQ(failure(QStringLiteral("/a.pdf")), QStringLiteral("Lecture: PDFDocument init failed"));
    EXPECT_EQ(failure(QStringLiteral("/b.pdf")), QStringLiteral("Lecture: PDFDocument init failed"));
    EXPECT_EQ(failure(QStringLiteral("/c.pdf")), QStringLiteral("Lecture: raison"));
    EXPECT_EQ(failure(QStringLiteral("/a.rtf")), QStringLiteral("Lecture: RTF parse failed"));
    EXPECT_EQ(failure(QStringLiteral("/b.rtf")), QStringLiteral("Lecture: raison"));
    EXPECT_EQ(failure(QStringLiteral("/c.rtf")), QStringLiteral("Lecture: raison"));
    EXPECT_EQ(failure(QStringLiteral("/b.txt")), QStringLiteral("Lecture: raison"));
    EXPECT_EQ(failure(QStringLiteral("/c.txt")), QStringLiteral("Lecture: raison"));
}

TEST_F(DocumentExtractorTest, fortySevenExtensionsCountAsText) {
    const QStringList all =
        QStringLiteral(
            "txt md markdown rst json csv tsv log xml yml yaml ini toml conf env sh zsh swift py rb js mjs ts "
            "tsx jsx go rs c cpp cc h hpp m mm java kt scala html htm xhtml css scss sql php lua pl r")
            .split(u' ');
    EXPECT_EQ(all.size(), 47);
    for (const QString& extension : all)
        EXPECT_TRUE(countsAsText(extension)) << extension.toStdString();
    for (const char16_t* other : {u"", u"tx", u"txtx", u"pdf", u"rtf", u"exe", u"bash"})
        EXPECT_FALSE(countsAsText(other));
}
