#include "linux/FileTypesShared.h"

#include "linux/PublicMimeTypes.h"

#include <gtest/gtest.h>
#include <random>
#include <thread>

namespace vennic::test {

class FileTypesSharedTest : public testing::Test {
protected:
    std::string typeOf(const char* extension) const {
        return types_.typeForExtension(QString::fromUtf8(extension)).value_or(QStringLiteral("none")).toStdString();
    }
    std::string mimeOf(const char* extension) const {
        return types_.mimeTypeForExtension(QString::fromUtf8(extension)).value_or(QStringLiteral("none")).toStdString();
    }
    bool is(const char* extension, const char* ancestor) const {
        return types_.conforms(types_.typeForExtension(QString::fromUtf8(extension)).value_or(QString()),
                               QString::fromUtf8(ancestor));
    }
    bool isDynamic(const char* extension) const { return typeOf(extension).starts_with("dyn."); }
    FileTypesShared types_;
};

TEST_F(FileTypesSharedTest, commonExtensionsHaveTheirPublicIdentifier) {
    EXPECT_EQ(typeOf("pdf"), "com.adobe.pdf");
    EXPECT_EQ(typeOf("rtf"), "public.rtf");
    EXPECT_EQ(typeOf("txt"), "public.plain-text");
    EXPECT_EQ(typeOf("md"), "net.daringfireball.markdown");
    EXPECT_EQ(typeOf("html"), "public.html");
    EXPECT_EQ(typeOf("json"), "public.json");
    EXPECT_EQ(typeOf("xml"), "public.xml");
    EXPECT_EQ(typeOf("csv"), "public.csv");
    EXPECT_EQ(typeOf("doc"), "com.microsoft.word.doc");
    EXPECT_EQ(typeOf("docx"), "org.openxmlformats.wordprocessingml.document");
    EXPECT_EQ(typeOf("xls"), "com.microsoft.excel.xls");
    EXPECT_EQ(typeOf("xlsx"), "org.openxmlformats.spreadsheetml.sheet");
    EXPECT_EQ(typeOf("jpeg"), "public.jpeg");
    EXPECT_EQ(typeOf("zip"), "public.zip-archive");
    EXPECT_EQ(typeOf("7z"), "org.7-zip.7-zip-archive");
    EXPECT_EQ(typeOf("zsh"), "public.shell-script");
}

TEST_F(FileTypesSharedTest, caseDoesNotMatter) {
    EXPECT_EQ(typeOf("PDF"), "com.adobe.pdf");
    EXPECT_EQ(typeOf("TxT"), "public.plain-text");
    EXPECT_EQ(typeOf("XYZZY"), typeOf("xyzzy"));
}

TEST_F(FileTypesSharedTest, textIsToldFromWhatOnlyHoldsText) {
    for (const char* text : {"txt", "md", "rtf", "html", "xhtml", "json", "xml", "csv", "tsv", "yaml", "py",
                             "cpp", "h",  "js",  "sql",  "ics",   "vcf",  "svg", "log", "css", "tex"})
        EXPECT_TRUE(is(text, "public.text")) << text;
    for (const char* other : {"pdf", "doc", "docx", "xls", "xlsx", "ppt", "pptx", "odt", "ods", "epub", "zip", "gz",
                              "png", "mp3", "mov", "iso", "eml", "ai"})
        EXPECT_FALSE(is(other, "public.text")) << other;
}

TEST_F(FileTypesSharedTest, kinshipFollowsEveryStep) {
    EXPECT_TRUE(is("pdf", "com.adobe.pdf"));
    EXPECT_TRUE(is("pdf", "public.data"));
    EXPECT_TRUE(is("pdf", "public.composite-content"));
    EXPECT_TRUE(is("pdf", "public.content"));
    EXPECT_TRUE(is("ai", "com.adobe.pdf"));
    EXPECT_FALSE(is("pdf", "com.adobe.illustrator.ai-image"));
    EXPECT_TRUE(is("zsh", "public.script"));
    EXPECT_TRUE(is("zsh", "public.plain-text"));
    EXPECT_TRUE(is("zsh", "public.item"));
    EXPECT_TRUE(is("csv", "public.comma-separated-values-text"));
    EXPECT_TRUE(is("heic", "public.image"));
    EXPECT_TRUE(is("m4a", "public.audio"));
    EXPECT_TRUE(is("mkv", "public.movie"));
    EXPECT_TRUE(is("deb", "public.archive"));
    EXPECT_TRUE(is("svg", "public.image"));
    EXPECT_TRUE(types_.conforms(QStringLiteral("public.folder"), QStringLiteral("public.directory")));
    EXPECT_FALSE(types_.conforms(QStringLiteral("public.folder"), QStringLiteral("public.data")));
}

TEST_F(FileTypesSharedTest, otherExtensionsAreKinAfterTheirMimeType) {
    for (const char* text : {"ini", "kt", "scala", "cmake", "fodt", "gpx", "rst", "toml"}) {
        EXPECT_TRUE(isDynamic(text)) << text;
        EXPECT_TRUE(is(text, "public.text")) << text;
        EXPECT_TRUE(is(text, "public.data")) << text;
    }
    EXPECT_TRUE(is("xcf", "public.image"));
    EXPECT_TRUE(is("wma", "public.audio"));
    EXPECT_TRUE(is("flv", "public.movie"));
    EXPECT_TRUE(is("apk", "public.archive"));
    EXPECT_TRUE(is("woff2", "public.font"));
    for (const char* other : {"docm", "exe", "sqlite", "so", "wma"})
        EXPECT_FALSE(is(other, "public.text")) << other;
}

TEST_F(FileTypesSharedTest, anExtensionThatNobodyKnowsIsDataAlone) {
    EXPECT_TRUE(isDynamic("xyzzy"));
    EXPECT_TRUE(is("xyzzy", "public.data"));
    EXPECT_TRUE(is("xyzzy", "public.item"));
    for (const char* kind : {"public.text", "public.image", "public.audio", "public.movie", "public.archive",
                             "public.content", "com.adobe.pdf", "public.rtf"})
        EXPECT_FALSE(is("xyzzy", kind)) << kind;
}

TEST_F(FileTypesSharedTest, dynamicIdentifiersAreBase32OfTheExtension) {
    EXPECT_EQ(typeOf("foobar"), "dyn.mzxw6ytboi");
    EXPECT_EQ(typeOf("fooba"), "dyn.mzxw6ytb");
    EXPECT_EQ(typeOf("é"), "dyn.youq");
}

TEST_F(FileTypesSharedTest, eachUnknownExtensionHasItsOwnIdentifier) {
    std::mt19937 random(3);
    std::map<QString, QString> seen;
    for (int i = 0; i < 10'000; ++i) {
        QString extension = QStringLiteral("q");
        for (auto length = random() % 12; length > 0; --length)
            extension += QChar(static_cast<char16_t>(u'a' + random() % 26));
        const auto type = types_.typeForExtension(extension);
        ASSERT_TRUE(type);
        const auto [at, fresh] = seen.emplace(*type, extension);
        ASSERT_EQ(at->second, extension);
    }
    EXPECT_GT(seen.size(), 7000u);
}

TEST_F(FileTypesSharedTest, whatCannotBeAnExtensionHasNoType) {
    for (const char* text : {"", "a/b", "/", "a\nb", "\x01", "\x7f", "\xc2\x85"})
        EXPECT_EQ(typeOf(text), "none") << text;
    EXPECT_EQ(types_.typeForExtension(QStringLiteral("a\0b")), std::nullopt);
    EXPECT_EQ(types_.typeForExtension(QString(QChar(0xd83c))), std::nullopt);
    EXPECT_EQ(types_.typeForExtension(QString(65, u'a')), std::nullopt);
    EXPECT_NE(types_.typeForExtension(QString(64, u'a')), std::nullopt);
    EXPECT_EQ(types_.typeForExtension(QString(10'000'000, u'a')), std::nullopt);
}

TEST_F(FileTypesSharedTest, wildCardsInAnExtensionMeanThemselves) {
    for (const char* text : {"*", "t*t", "[p]df", "?df", "{txt,md}"}) {
        EXPECT_TRUE(isDynamic(text)) << text;
        EXPECT_FALSE(is(text, "public.text")) << text;
    }
}

TEST_F(FileTypesSharedTest, aFilesTypeIsThatOfItsLastExtension) {
    const auto typeOfFile = [&](const QString& name) { return types_.typeForFile(name, false).toStdString(); };
    EXPECT_EQ(typeOfFile(QStringLiteral("Rapport.PDF")), "com.adobe.pdf");
    EXPECT_EQ(typeOfFile(QStringLiteral("a.tar.gz")), "org.gnu.gnu-zip-archive");
    EXPECT_EQ(typeOfFile(QStringLiteral("README")), "public.data");
    EXPECT_EQ(typeOfFile(QStringLiteral(".pdf")), "public.data");
    EXPECT_EQ(typeOfFile(QStringLiteral("end.")), "public.data");
    EXPECT_EQ(typeOfFile(QStringLiteral("")), "public.data");
    EXPECT_EQ(typeOfFile(QStringLiteral(".hidden.txt")), "public.plain-text");
    EXPECT_EQ(typeOfFile(QStringLiteral("a\nb.txt")), "public.plain-text");
    EXPECT_EQ(typeOfFile(QStringLiteral("a.t\nxt")), "public.data");
    EXPECT_EQ(typeOfFile(QStringLiteral("a.") + QString(253, u'x')), "public.data");
    EXPECT_EQ(types_.typeForFile(QStringLiteral("folder.pdf"), true), QStringLiteral("public.folder"));
}

TEST_F(FileTypesSharedTest, unknownIdentifiersConformToThemselvesAlone) {
    const auto conforms = [&](const QString& type, const char* ancestor) {
        return types_.conforms(type, QString::fromUtf8(ancestor));
    };
    for (const char* type :
         {"", "nobody.knows.this", "public.", "dyn.", "dyn.!", "dyn.a", "dyn.MZXW6YTBOI", "dyn.mzxw6ytb0i"}) {
        EXPECT_FALSE(conforms(QString::fromUtf8(type), "public.data")) << type;
        EXPECT_TRUE(conforms(QString::fromUtf8(type), type)) << type;
    }
    EXPECT_FALSE(conforms(QString(100'000, u'a'), "public.data"));
    EXPECT_FALSE(conforms(QStringLiteral("dyn.") + QString(100'000, u'm'), "public.data"));
    EXPECT_FALSE(conforms(QStringLiteral("public.text"), ""));
    EXPECT_FALSE(conforms(QStringLiteral("com.adobe.pdf"), "nobody.knows.this"));
    // The spelling of an extension that the table has is nobody's identifier.
    EXPECT_FALSE(conforms(QStringLiteral("dyn.or4hi"), "public.data"));
}

TEST_F(FileTypesSharedTest, everyExtensionOfTheTableHasAMimeTypeWithoutTheSystemsData) {
    for (const char* extension :
         {"7z",    "aac",  "ai",   "aif", "aiff", "avi",      "avif", "bash",  "bmp",  "bz2",  "c",    "cc",
          "cpp",   "css",  "csv",  "cxx", "deb",  "diff",     "dmg",  "doc",   "docx", "eml",  "eps",  "epub",
          "flac",  "gif",  "go",   "gz",  "h",    "heic",     "heif", "hh",    "hpp",  "htm",  "html", "hxx",
          "ico",   "ics",  "iso",  "jar", "java", "jp2",      "jpe",  "jpeg",  "jpg",  "js",   "json", "jsx",
          "log",   "lua",  "m",    "m4a", "m4v",  "markdown", "md",   "mid",   "mjs",  "mkv",  "mm",   "mov",
          "mp3",   "mp4",  "mpeg", "mpg", "odg",  "odp",      "ods",  "odt",   "oga",  "ogg",  "opus", "otf",
          "patch", "pdf",  "php",  "pl",  "pm",   "png",      "ppt",  "pptx",  "ps",   "psd",  "py",   "rar",
          "rb",    "rs",   "rtf",  "s",   "sh",   "sql",      "svg",  "swift", "tar",  "tex",  "text", "tgz",
          "tif",   "tiff", "ts",   "tsv", "tsx",  "ttf",      "txt",  "vcf",   "wav",  "webm", "webp", "xht",
          "xhtml", "xls",  "xlsx", "xml", "xz",   "yaml",     "yml",  "zip",   "zsh"}) {
        const std::string type = typeOf(extension);
        EXPECT_FALSE(type.starts_with("dyn.")) << extension;
        EXPECT_FALSE(publicMimeType(type).empty()) << extension;
        EXPECT_EQ(mimeOf(extension), publicMimeType(type)) << extension;
    }
    EXPECT_EQ(publicMimeType(""), "");
    EXPECT_EQ(publicMimeType("public.data"), "");
    EXPECT_EQ(publicMimeType("zzz"), "");
}

TEST_F(FileTypesSharedTest, mimeTypesAreTheRegisteredOnes) {
    EXPECT_EQ(mimeOf("html"), "text/html");
    EXPECT_EQ(mimeOf("HTM"), "text/html");
    EXPECT_EQ(mimeOf("Jpg"), "image/jpeg");
    EXPECT_EQ(mimeOf("rtf"), "text/rtf");
    EXPECT_EQ(mimeOf("svg"), "image/svg+xml");
    EXPECT_EQ(mimeOf("docx"), "application/vnd.openxmlformats-officedocument.wordprocessingml.document");
    EXPECT_EQ(mimeOf("odt"), "application/vnd.oasis.opendocument.text");
    EXPECT_EQ(mimeOf("ts"), "text/x-typescript"); // and no video
}

TEST_F(FileTypesSharedTest, otherExtensionsHaveTheMimeTypeOfTheSystem) {
    EXPECT_EQ(mimeOf("flv"), "video/x-flv");
    EXPECT_EQ(mimeOf("KT"), "text/x-kotlin");
    EXPECT_EQ(mimeOf("ini"), "text/plain");
    EXPECT_EQ(mimeOf("xcf"), "image/x-xcf");
}

TEST_F(FileTypesSharedTest, whatNobodyKnowsHasNoMimeType) {
    for (const char* text :
         {"", "xyzzy", "20240101", "a/b", "/", "a\nb", "\x01", "*", "?df", "pdf ", " pdf", "p.df.", ".."})
        EXPECT_EQ(mimeOf(text), "none") << text;
    EXPECT_EQ(types_.mimeTypeForExtension(QString(QChar(0xd83c))), std::nullopt);
    EXPECT_EQ(types_.mimeTypeForExtension(QStringLiteral("pdf") + QChar::Null), std::nullopt);
    EXPECT_EQ(types_.mimeTypeForExtension(QString(10'000'000, u'a')), std::nullopt);
}

TEST_F(FileTypesSharedTest, randomTextBreaksNothing) {
    std::mt19937 random(11);
    for (int i = 0; i < 10'000; ++i) {
        QString text;
        for (auto length = random() % 80; length > 0; --length)
            text += QChar(static_cast<char16_t>(random() % 4 == 0 ? random() : random() % 128));
        if (const auto type = types_.typeForExtension(text))
            EXPECT_TRUE(types_.conforms(*type, QStringLiteral("public.data")));
        if (const auto mime = types_.mimeTypeForExtension(text))
            EXPECT_TRUE(mime->contains(u'/')) << mime->toStdString();
        EXPECT_FALSE(types_.conforms(QStringLiteral("dyn.") + text, QStringLiteral("com.adobe.pdf")));
        EXPECT_FALSE(types_.typeForFile(text, false).isEmpty());
    }
}

TEST_F(FileTypesSharedTest, manyThreadsGetTheSameAnswers) {
    std::vector<std::thread> threads;
    std::atomic<int> wrong = 0;
    for (int thread = 0; thread < 8; ++thread)
        threads.emplace_back([&] {
            for (int i = 0; i < 2000; ++i) {
                wrong += is("ini", "public.text") ? 0 : 1;
                wrong += is("xcf", "public.image") ? 0 : 1;
                wrong += is(QByteArray("q" + QByteArray::number(i)).constData(), "public.text") ? 1 : 0;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

} // namespace vennic::test
