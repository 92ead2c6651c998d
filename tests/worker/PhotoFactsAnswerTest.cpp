#include "linux/worker/AnswerCheck.h"

#include <cmath>
#include <functional>
#include <gtest/gtest.h>

using namespace vennic;

namespace {

PhotoFacts honestFacts() {
    PhotoFacts facts;
    facts.format = PictureFormat::jpeg;
    facts.dated = facts.zoned = facts.placed = 1;
    facts.year = 2024;
    facts.month = 2;
    facts.day = 29;
    facts.hour = 23;
    facts.minute = facts.second = 59;
    facts.millisecond = 999;
    facts.offsetMinutes = -840;
    facts.latitude = 90;
    facts.longitude = -180;
    return facts;
}

bool allows(const QByteArray& body, std::uint32_t truncated = 0) {
    const wire::Request request{.form = wire::Form::photoFacts, .number = 7, .parameters = {}};
    const wire::Answer answer{
        .number = 7, .bodyBytes = static_cast<std::uint64_t>(body.size()), .fileBytes = 100, .truncated = truncated};
    const AnswerCheck check(request, 100, 100);
    return check.allows(answer) && check.allows(answer, body);
}

bool allows(const PhotoFacts& facts) { return allows(QByteArray(reinterpret_cast<const char*>(&facts), sizeof facts)); }

bool allowsAfter(const std::function<void(PhotoFacts&)>& change) {
    PhotoFacts facts = honestFacts();
    change(facts);
    return allows(facts);
}

} // namespace

TEST(PhotoFactsAnswer, whatAnHonestProcessSaysIsTaken) {
    EXPECT_TRUE(allows(honestFacts()));
    EXPECT_TRUE(allows(PhotoFacts{}));
    EXPECT_TRUE(allowsAfter([](PhotoFacts& facts) { facts.zoned = facts.placed = 0; }));
}

TEST(PhotoFactsAnswer, whatCannotBeIsALie) {
    using Change = std::function<void(PhotoFacts&)>;
    const std::vector<std::pair<const char*, Change>> lies{
        {"an unknown format", [](PhotoFacts& facts) { facts.format = static_cast<PictureFormat>(99); }},
        {"a date of no picture", [](PhotoFacts& facts) { facts.format = PictureFormat::none; }},
        {"half a flag", [](PhotoFacts& facts) { facts.dated = 2; }},
        {"half a zone", [](PhotoFacts& facts) { facts.zoned = 2; }},
        {"half a place", [](PhotoFacts& facts) { facts.placed = 7; }},
        {"a zone without a date", [](PhotoFacts& facts) { facts.dated = 0; }},
        {"year 0", [](PhotoFacts& facts) { facts.year = 0; }},
        {"year 10000", [](PhotoFacts& facts) { facts.year = 10'000; }},
        {"month 13", [](PhotoFacts& facts) { facts.month = 13; }},
        {"30 February", [](PhotoFacts& facts) { facts.day = 30; }},
        {"29 February of another year", [](PhotoFacts& facts) { facts.year = 2023; }},
        {"hour 24", [](PhotoFacts& facts) { facts.hour = 24; }},
        {"second 60", [](PhotoFacts& facts) { facts.second = 60; }},
        {"a whole second", [](PhotoFacts& facts) { facts.millisecond = 1000; }},
        {"a zone beyond all", [](PhotoFacts& facts) { facts.offsetMinutes = 841; }},
        {"beyond the pole", [](PhotoFacts& facts) { facts.latitude = 90.001; }},
        {"beyond the date line", [](PhotoFacts& facts) { facts.longitude = 181; }},
        {"no number", [](PhotoFacts& facts) { facts.latitude = std::nan(""); }},
        {"no end", [](PhotoFacts& facts) { facts.longitude = -INFINITY; }},
    };
    for (const auto& [lie, change] : lies)
        EXPECT_FALSE(allowsAfter(change)) << lie;
}

TEST(PhotoFactsAnswer, aBodyOfAnotherShapeIsALie) {
    const PhotoFacts facts = honestFacts();
    const QByteArray body(reinterpret_cast<const char*>(&facts), sizeof facts);
    EXPECT_TRUE(allows(body));
    EXPECT_FALSE(allows(body.chopped(1)));
    EXPECT_FALSE(allows(body + 'x'));
    EXPECT_FALSE(allows(QByteArray()));
    EXPECT_FALSE(allows(body, 1));
}
