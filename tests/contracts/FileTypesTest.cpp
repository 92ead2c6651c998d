#include "fakes/FileTypesFake.h"
#include "linux/FileTypesShared.h"

#include <gtest/gtest.h>

namespace vennic::test {

template <class T>
class FileTypesContract : public testing::Test {
protected:
    std::string typeOf(const char* extension) const {
        return types_.typeForExtension(QString::fromUtf8(extension)).value_or(QStringLiteral("none")).toStdString();
    }
    bool conforms(const std::string& type, const char* ancestor) const {
        return types_.conforms(QString::fromStdString(type), QString::fromUtf8(ancestor));
    }
    T types_;
};
using AllFileTypes = testing::Types<FileTypesFake, FileTypesShared>;
TYPED_TEST_SUITE(FileTypesContract, AllFileTypes);

TYPED_TEST(FileTypesContract, knownExtensionsHaveTheirIdentifierInAnyCase) {
    EXPECT_EQ(this->typeOf("pdf"), "com.adobe.pdf");
    EXPECT_EQ(this->typeOf("PDF"), "com.adobe.pdf");
    EXPECT_EQ(this->typeOf("rtf"), "public.rtf");
    EXPECT_EQ(this->typeOf("txt"), "public.plain-text");
    EXPECT_EQ(this->typeOf("docx"), "org.openxmlformats.wordprocessingml.document");
    EXPECT_EQ(this->typeOf("zip"), "public.zip-archive");
}

TYPED_TEST(FileTypesContract, anUnknownExtensionHasAnIdentifierOfItsOwn) {
    const std::string type = this->typeOf("xyzzy");
    EXPECT_TRUE(type.starts_with("dyn."));
    EXPECT_EQ(this->typeOf("XYZZY"), type);
    EXPECT_NE(this->typeOf("xyzzz"), type);
    EXPECT_FALSE(this->conforms(type, "public.text"));
}

TYPED_TEST(FileTypesContract, anEmptyExtensionHasNone) { EXPECT_EQ(this->typeOf(""), "none"); }

TYPED_TEST(FileTypesContract, knownExtensionsHaveAMimeTypeInAnyCaseAndOthersNone) {
    const auto mimeOf = [this](const char* extension) {
        return this->types_.mimeTypeForExtension(QString::fromUtf8(extension))
            .value_or(QStringLiteral("none"))
            .toStdString();
    };
    EXPECT_EQ(mimeOf("pdf"), "application/pdf");
    EXPECT_EQ(mimeOf("PDF"), "application/pdf");
    EXPECT_EQ(mimeOf("txt"), "text/plain");
    EXPECT_EQ(mimeOf("md"), "text/markdown");
    EXPECT_EQ(mimeOf("xyzzy"), "none");
    EXPECT_EQ(mimeOf(""), "none");
}

TYPED_TEST(FileTypesContract, aTypeConformsToItselfAndToItsAncestors) {
    EXPECT_TRUE(this->conforms("public.plain-text", "public.plain-text"));
    EXPECT_TRUE(this->conforms("public.plain-text", "public.text"));
    EXPECT_TRUE(this->conforms("public.plain-text", "public.data"));
    EXPECT_TRUE(this->conforms(this->typeOf("ai"), "com.adobe.pdf"));
    EXPECT_FALSE(this->conforms("public.text", "public.plain-text"));
    EXPECT_FALSE(this->conforms(this->typeOf("docx"), "public.text"));
    EXPECT_FALSE(this->conforms("nobody.knows.this", "public.data"));
}

TYPED_TEST(FileTypesContract, filesAreToldByTheirLastExtension) {
    const auto typeOfFile = [this](const QString& name, bool isDirectory) {
        return this->types_.typeForFile(name, isDirectory).toStdString();
    };
    EXPECT_EQ(typeOfFile(QStringLiteral("a.txt.pdf"), false), "com.adobe.pdf");
    EXPECT_EQ(typeOfFile(QStringLiteral("README"), false), "public.data");
    EXPECT_EQ(typeOfFile(QStringLiteral(".pdf"), false), "public.data");
    EXPECT_EQ(typeOfFile(QStringLiteral("a.pdf"), true), "public.folder");
}

} // namespace vennic::test
