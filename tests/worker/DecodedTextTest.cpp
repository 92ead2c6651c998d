#include "worker/DecodedText.h"

#include "worker/WorkerFolder.h"

#include <gtest/gtest.h>

using namespace vennic;
using namespace vennic::worker;

namespace {

std::string decoded(std::string_view bytes, std::size_t most = 100000) {
    return std::string(DecodedText(bytes, most).text());
}

std::string decodedFile(const char* name) {
    const QByteArray bytes =
        test::fileBytes(test::dataFolder() + QStringLiteral("/documents/") + QString::fromLatin1(name));
    return decoded({bytes.constData(), static_cast<std::size_t>(bytes.size())});
}

const std::string french = "Été à Noël : l’élève naïf a payé 3 € au café.\nDeuxième ligne, où tout va bien.\n";
const std::string latin = "Été à Noël : un élève naïf au café.\nDeuxième ligne, où tout va bien.\n";

} // namespace

TEST(DecodedText, readsUtf8AsItStands) { EXPECT_EQ(decodedFile("utf8.txt"), french); }

TEST(DecodedText, leavesOutAByteOrderMark) {
    EXPECT_EQ(decodedFile("utf8-mark.txt"), french);
    EXPECT_EQ(decoded("\xEF\xBB\xBF"), "");
}

TEST(DecodedText, readsUtf16InTheOrderOfItsMark) {
    EXPECT_EQ(decodedFile("utf16le-mark.txt"), french + "😀");
    EXPECT_EQ(decodedFile("utf16be-mark.txt"), french + "😀");
}

TEST(DecodedText, readsUtf16WithoutMarkWhenItsZerosShowTheOrder) {
    EXPECT_EQ(decodedFile("utf16le.txt"), latin);
    EXPECT_EQ(decodedFile("utf16be.txt"), latin);
}

TEST(DecodedText, whatIsWellFormedUtf8IsReadAsUtf8WhateverItsZerosShow) {
    EXPECT_EQ(decoded(std::string_view("a\0b\0c\0d\0", 8)), std::string("a\0b\0c\0d\0", 8));
}

TEST(DecodedText, readsLatin1OfAnyLengthThroughTheThirdDecoder) {
    EXPECT_EQ(decodedFile("latin1-odd.txt"), latin.substr(0, decodedFile("latin1-odd.txt").size()));
    EXPECT_EQ(decodedFile("latin1-even.txt"), latin.substr(0, decodedFile("latin1-even.txt").size()));
    EXPECT_EQ(decoded("\xE9t\xE9!"), "été!");
}

TEST(DecodedText, everyByteIsALatin1Character) {
    EXPECT_EQ(decoded("\x80\xFF"), "\u0080ÿ");
    const std::string all = decodedFile("bytes.txt");
    EXPECT_EQ(all.size(), 128U + 2 * 128U);
}

TEST(DecodedText, markedUtf16ThatIsMalformedIsLatin1) {
    EXPECT_EQ(decoded("\xFF\xFE"
                      "a"),
              "ÿþa");
    EXPECT_EQ(decoded(std::string_view("\xFE\xFF\xD8\x00\x00\x61", 6)), std::string("þÿØ\0\0a", 9));
}

TEST(DecodedText, aFewZerosDoNotMakeUtf16) {
    EXPECT_EQ(decodedFile("zeros.txt"), std::string("un\0deux\0trois", 13));
    EXPECT_EQ(decoded(std::string_view("a\0", 2)), std::string("a\0", 2));
}

TEST(DecodedText, anEmptyFileIsAnEmptyText) { EXPECT_EQ(decodedFile("empty.txt"), ""); }

TEST(DecodedText, decodesOneLatin1CharacterMoreThanIsOfInterest) {
    const std::string bytes = "\xE9" + std::string(1000, '\r');
    EXPECT_GT(decoded(bytes, 3).size(), 4U);
    EXPECT_LT(decoded(bytes, 3).size(), 20U);
}
