#include "Bridge/SubPath.h"

#include <gtest/gtest.h>

using namespace vennic;

namespace {

const FileURL root{QStringLiteral("/home/marie/partage")};

/// The normalised form of a sub-path, or "refused".
std::string parsed(const char* text) {
    const auto subPath = SubPath::parse(QString::fromUtf8(text));
    return subPath ? subPath->normalized().toStdString() : "refused";
}

std::string folderOf(const char* text, const FileURL& from = root) {
    const auto subPath = SubPath::parse(QString::fromUtf8(text));
    const auto folder = subPath ? subPath->below(from) : std::nullopt;
    return folder ? folder->path.toStdString() : "refused";
}

} // namespace

TEST(SubPathTest, emptyPiecesAreDropped) {
    EXPECT_EQ(parsed(""), "");
    EXPECT_EQ(parsed("a"), "a");
    EXPECT_EQ(parsed("a//b/"), "a/b");
    EXPECT_EQ(parsed("a/b///"), "a/b");
}

TEST(SubPathTest, aLeadingSlashIsRefused) {
    for (const char* text : {"/", "//", "/a", "//a", "/..", "/."})
        EXPECT_EQ(parsed(text), "refused") << text;
}

TEST(SubPathTest, twoDotsAreRefusedWhereverTheyStandAsAPiece) {
    for (const char* text : {"..", "../", "a/..", "a/../b", "a//..", "../a", "a/b/../../..", "./.."})
        EXPECT_EQ(parsed(text), "refused") << text;
    for (const char* text :
         {"...", "..a", "a..", "a..b", ".. ", " ..", "%2e%2e", "․․", "．．", "..\\", ".\xe2\x80\x8b."})
        EXPECT_EQ(parsed(text), text);
}

TEST(SubPathTest, aSingleDotIsKeptInTheTextAndLeadsNowhereElse) {
    EXPECT_EQ(parsed("a/./b"), "a/./b");
    EXPECT_EQ(FileURL{QString::fromStdString(folderOf("a/./b"))}.standardized().path,
              QStringLiteral("/home/marie/partage/a/b"));
    EXPECT_EQ(parsed("."), ".");
}

TEST(SubPathTest, thePiecesAreAppendedToTheFolder) {
    EXPECT_EQ(folderOf(""), "/home/marie/partage");
    EXPECT_EQ(folderOf("Reçus//2024/"), "/home/marie/partage/Reçus/2024");
    EXPECT_EQ(folderOf("%2f/~/C:\\a"), "/home/marie/partage/%2f/~/C:\\a");
}

TEST(SubPathTest, aFolderThatIsSpelledInAnotherWayIsComparedStandardised) {
    EXPECT_EQ(folderOf("a", FileURL{QStringLiteral("/home/./marie/../marie/partage/")}),
              "/home/./marie/../marie/partage/a");
}

// Below "/" no path begins with the folder and one more slash, so only the root itself can be listed.
TEST(SubPathTest, underTheRootOfEverythingOnlyTheRootItselfPasses) {
    const FileURL everything{QStringLiteral("/")};
    EXPECT_EQ(folderOf("", everything), "/");
    EXPECT_EQ(folderOf(".", everything), "/.");
    EXPECT_EQ(folderOf("etc", everything), "refused");
}
