#include "settings/RelativeDate.h"

#include "base/Localized.h"

#include <array>

namespace vennic {

namespace {

using namespace std::chrono_literals;

struct Unit {
    std::chrono::seconds length;
    const char* one;
    const char* several;
};

constexpr std::array units{
    Unit{std::chrono::days{365}, "il y a un an", "il y a %1 ans"},
    Unit{std::chrono::days{30}, "il y a un mois", "il y a %1 mois"},
    Unit{std::chrono::days{1}, "il y a un jour", "il y a %1 jours"},
    Unit{1h, "il y a une heure", "il y a %1 heures"},
    Unit{1min, "il y a une minute", "il y a %1 minutes"},
    Unit{1s, "il y a une seconde", "il y a %1 secondes"},
};

} // namespace

QString relativeDate(const QDateTime& moment, const QDateTime& now) {
    const std::chrono::seconds age{moment.secsTo(now)};
    for (const Unit& unit : units) {
        const auto count = age / unit.length;
        if (count == 1)
            return localized(unit.one);
        if (count > 1)
            return localized(unit.several).arg(count);
    }
    return localized("à l'instant");
}

std::chrono::seconds relativeDateLasts(const QDateTime& moment, const QDateTime& now) {
    const std::chrono::seconds age{moment.secsTo(now)};
    return age < 1min ? 1s : age < 1h ? 60s - age % 60s : 1h - age % 1h;
}

} // namespace vennic
