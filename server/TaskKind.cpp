#include "server/TaskKind.h"

#include <QLatin1String>

#include <algorithm>
#include <array>

namespace vennic::server {

namespace {
struct Kind {
    QLatin1String name;
    bool repeatable = false;
    bool slow = false; // waits for a person, or works for minutes on some inputs
};
constexpr std::array kinds{
    Kind{QLatin1String("search"), true, false},        Kind{QLatin1String("read"), true, false},
    Kind{QLatin1String("list_folders"), true, false},  Kind{QLatin1String("list_dir"), true, false},
    Kind{QLatin1String("photos_recent"), true, true},  Kind{QLatin1String("photos_by_date"), true, true},
    Kind{QLatin1String("app_open"), false, false},     Kind{QLatin1String("shortcut_run"), false, true},
    Kind{QLatin1String("shortcut_list"), true, false}, Kind{QLatin1String("ocr_image"), true, true},
    Kind{QLatin1String("open_document"), false, true}, Kind{QLatin1String("thumbnail"), true, false},
    Kind{QLatin1String("llm_infer"), false, true},
};
} // namespace

bool isTaskKind(QStringView kind) {
    return std::any_of(kinds.begin(), kinds.end(), [kind](const Kind& each) { return each.name == kind; });
}

bool isRepeatable(QStringView kind) {
    return std::any_of(kinds.begin(), kinds.end(),
                       [kind](const Kind& each) { return each.repeatable && each.name == kind; });
}

bool isSlow(QStringView kind) {
    return std::any_of(kinds.begin(), kinds.end(), [kind](const Kind& each) { return each.slow && each.name == kind; });
}

} // namespace vennic::server
