#include "base/TextExtensions.h"

#include <QString>

#include <algorithm>
#include <array>
#include <string_view>

namespace vennic {

namespace {
constexpr std::array<std::u16string_view, 47> textExtensions{
    u"txt",   u"md",   u"markdown", u"rst",   u"json", u"csv",   u"tsv", u"log", u"xml", u"yml", u"yaml", u"ini",
    u"toml",  u"conf", u"env",      u"sh",    u"zsh",  u"swift", u"py",  u"rb",  u"js",  u"mjs", u"ts",   u"tsx",
    u"jsx",   u"go",   u"rs",       u"c",     u"cpp",  u"cc",    u"h",   u"hpp", u"m",   u"mm",  u"java", u"kt",
    u"scala", u"html", u"htm",      u"xhtml", u"css",  u"scss",  u"sql", u"php", u"lua", u"pl",  u"r",
};
} // namespace

bool countsAsText(QStringView extension) {
    const QString lower = extension.toString().toLower();
    return std::ranges::any_of(textExtensions, [&](std::u16string_view known) { return QStringView(known) == lower; });
}

} // namespace vennic
