#include "settings/RelativeDate.h"

#include <gtest/gtest.h>

namespace vennic {
namespace {

using namespace std::chrono_literals;

const QDateTime moment(QDate(2025, 3, 1), QTime(9, 12, 33), Qt::UTC);

QString after(std::chrono::seconds age) { return relativeDate(moment, moment.addSecs(age.count())); }
std::chrono::seconds lasts(std::chrono::seconds age) { return relativeDateLasts(moment, moment.addSecs(age.count())); }

TEST(RelativeDate, theLargestWholeUnitIsNamed) {
    const std::vector<std::pair<std::chrono::seconds, const char*>> rows{
        {0s, "à l'instant"},           {1s, "il y a une seconde"},        {59s, "il y a 59 secondes"},
        {60s, "il y a une minute"},    {119s, "il y a une minute"},       {59min + 59s, "il y a 59 minutes"},
        {1h, "il y a une heure"},      {23h + 59min, "il y a 23 heures"}, {24h, "il y a un jour"},
        {29 * 24h, "il y a 29 jours"}, {30 * 24h, "il y a un mois"},      {364 * 24h, "il y a 12 mois"},
        {365 * 24h, "il y a un an"},   {800 * 24h, "il y a 2 ans"},
    };
    for (const auto& [age, words] : rows)
        EXPECT_EQ(after(age), QString::fromUtf8(words));
}

TEST(RelativeDate, whatLiesAheadCountsAsNow) { EXPECT_EQ(after(-5min), QStringLiteral("à l'instant")); }

TEST(RelativeDate, theWordsChangeNoEarlierThanTheyAreSaidToLast) {
    for (const std::chrono::seconds age : {0s, 30s, 59s, 60s, 61s, 1799s, 3599s, 3600s, 5000s, 86399s}) {
        EXPECT_GE(lasts(age), 1s);
        EXPECT_EQ(after(age), after(age + lasts(age) - 1s));
        if (age < 24h) {
            EXPECT_NE(after(age), after(age + lasts(age)));
        }
    }
    EXPECT_EQ(lasts(-5min), 1s);
}

} // namespace
} // namespace vennic
