#include "server/TaskKind.h"

#include <QLatin1String>

#include <algorithm>
#include <array>

namespace vennic::server {

namespace {
struct Kind {
    QLatin1String name;
    bool repeatable = false;
};
constexpr std::array kinds{
    Kind{QLatin1String("search"), true},         Kind{QLatin1String("read"), true},
    Kind{QLatin1String("list_folders"), true},   Kind{QLatin1String("list_dir"), true},
    Kind{QLatin1String("photos_recent"), true},  Kind{QLatin1String("photos_by_date"), true},
    Kind{QLatin1String("app_open"), false},      Kind{QLatin1String("shortcut_run"), false},
    Kind{QLatin1String("shortcut_list"), true},  Kind{QLatin1String("ocr_image"), true},
    Kind{QLatin1String("open_document"), false}, Kind{QLatin1String("thumbnail"), true},
    Kind{QLatin1String("llm_infer"), false},
};
} // namespace

bool isTaskKind(QStringView kind) {
    return std::any_of(kinds.begin(), kinds.end(), [kind](const Kind& each) { return each.name == kind; });
}

bool isRepeatable(QStringView kind) {
    return std::any_of(kinds.begin(), kinds.end(),
                       [kind](const Kind& each) { return each.repeatable && each.name == kind; });
}

} // namespace vennic::server
