#include "base/JsonText.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <gtest/gtest.h>
#include <limits>
#include <random>

using namespace vennic;

namespace {

std::string string(QStringView text) {
    QByteArray json;
    appendJsonString(json, text);
    return json.toStdString();
}

QString readBack(const std::string& json) {
    const QByteArray array = '[' + QByteArray::fromStdString(json) + ']';
    return QJsonDocument::fromJson(array).array().at(0).toString(QStringLiteral("unreadable"));
}

} // namespace

TEST(JsonTextTest, textIsQuotedAndOnlyWhatMustBeIsEscaped) {
    EXPECT_EQ(string({}), R"("")");
    EXPECT_EQ(string(u"Été à Besançon €🎉"), "\"Été à Besançon €🎉\"");
    EXPECT_EQ(string(u"a\"b\\c/d"), R"("a\"b\\c/d")");
    EXPECT_EQ(string(u"\n\r\t\b\f\x1f\x7f"), "\"\\n\\r\\t\\u0008\\u000c\\u001f\x7f\"");
    EXPECT_EQ(string(QStringView(u"a\0b", 3)), R"("a\u0000b")");
}

TEST(JsonTextTest, halfASurrogatePairIsAnEscapeAndAWholeOneIsText) {
    const auto units = [](std::initializer_list<char16_t> list) {
        return QString::fromUtf16(list.begin(), list.size());
    };
    EXPECT_EQ(string(units({0xd83c})), R"("\ud83c")");
    EXPECT_EQ(string(units({0xdf89})), R"("\udf89")");
    EXPECT_EQ(string(units({0xdf89, 0xd83c})), R"("\udf89\ud83c")");
    EXPECT_EQ(string(units({0xd83c, 0xd83c, 0xdf89, u'a'})), "\"\\ud83c🎉a\"");
}

TEST(JsonTextTest, anyTextReadsBack) {
    std::mt19937 random(5);
    for (int round = 0; round < 20'000; ++round) {
        QString text;
        for (auto length = random() % 12; length > 0; --length)
            text += QChar(static_cast<char16_t>(random() % 3 == 0 ? random() : random() % 128));
        ASSERT_EQ(readBack(string(text)), text);
    }
}

TEST(JsonTextTest, textIsAppendedToWhatIsThere) {
    QByteArray json = "[";
    appendJsonString(json, u"é");
    json += ',';
    appendJsonString(json, QString(100'000, u'x'));
    EXPECT_TRUE(json.startsWith("[\"é\",\"xxx"));
    EXPECT_EQ(json.size(), 8 + 100'000);
}

TEST(JsonTextTest, aNumberReadsBackAsItself) {
    for (const double number : {0.0, -1.5, 0.1, 48.856614, 1e300, std::numeric_limits<double>::denorm_min(),
                                std::numeric_limits<double>::max(), 1e15, -2.3522219e-7}) {
        QByteArray json = "[";
        appendJsonNumber(json, number);
        EXPECT_EQ(QJsonDocument::fromJson(json + ']').array().at(0).toDouble(7), number) << json.toStdString();
    }
}
