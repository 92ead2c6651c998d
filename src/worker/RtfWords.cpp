#include "worker/RtfWords.h"

#include <algorithm>
#include <array>

namespace vennic::worker {
namespace {

struct Entry {
    std::string_view name;
    RtfWord word;
    char32_t value = 0;
};

constexpr auto sorted(auto entries) {
    std::ranges::sort(entries, {}, &Entry::name);
    return entries;
}

using enum RtfWord;

constexpr auto words = sorted(std::to_array<Entry>({
    // Characters
    {"par", character, '\n'},
    {"line", character, '\n'},
    {"lbr", character, '\n'},
    {"sect", character, '\n'},
    {"page", character, '\n'},
    {"column", character, '\n'},
    {"softline", ignored},
    {"softpage", ignored},
    {"tab", character, '\t'},
    {"emdash", character, 0x2014},
    {"endash", character, 0x2013},
    {"emspace", character, 0x2003},
    {"enspace", character, 0x2002},
    {"qmspace", character, 0x2005},
    {"bullet", character, 0x2022},
    {"lquote", character, 0x2018},
    {"rquote", character, 0x2019},
    {"ldblquote", character, 0x201C},
    {"rdblquote", character, 0x201D},
    {"zwj", character, 0x200D},
    {"zwnj", character, 0x200C},
    {"zwbo", character, 0x200B},
    {"zwnbo", character, 0x2060},
    {"ltrmark", character, 0x200E},
    {"rtlmark", character, 0x200F},
    {"cell", cellEnd},
    {"nestcell", cellEnd},
    {"row", rowEnd},
    {"nestrow", rowEnd},
    // Code pages and fonts
    {"ansi", ansi},
    {"mac", macintosh},
    {"pc", pc},
    {"pca", pca},
    {"ansicpg", ansiCodePage},
    {"fonttbl", fontTable},
    {"deff", defaultFont},
    {"f", font},
    {"fcharset", fontCharset},
    {"cpg", fontCodePage},
    // Characters by number, data
    {"u", unicode},
    {"uc", unicodeFallback},
    {"upr", unicodePair},
    {"ud", unicodeHalf},
    {"bin", binary},
    // Text that isn't shown
    {"plain", plain},
    {"v", hidden},
    {"deleted", deleted},
    // Groups that hold body text though a reader may skip them
    {"shpinst", kept},
    {"shptxt", shapeText},
    {"shp", kept},
    {"fldrslt", kept},
    {"field", kept},
    {"result", kept},
    {"listtext", kept},
    {"pntext", kept},
    {"nesttableprops", skipped},
    {"nonesttables", skipped},
    // Groups of other text
    {"colortbl", skipped},
    {"stylesheet", skipped},
    {"info", skipped},
    {"pict", skipped},
    {"objdata", skipped},
    {"objclass", skipped},
    {"objname", skipped},
    {"objalias", skipped},
    {"objsect", skipped},
    {"objtime", skipped},
    {"fldinst", skipped},
    {"fldtype", skipped},
    {"datafield", skipped},
    {"formfield", skipped},
    {"header", skipped},
    {"headerl", skipped},
    {"headerr", skipped},
    {"headerf", skipped},
    {"footer", skipped},
    {"footerl", skipped},
    {"footerr", skipped},
    {"footerf", skipped},
    {"footnote", skipped},
    {"annotation", skipped},
    {"atnid", skipped},
    {"atnauthor", skipped},
    {"atndate", skipped},
    {"atnref", skipped},
    {"atnicn", skipped},
    {"atntime", skipped},
    {"atrfstart", skipped},
    {"atrfend", skipped},
    {"ftnsep", skipped},
    {"ftnsepc", skipped},
    {"ftncn", skipped},
    {"aftnsep", skipped},
    {"aftnsepc", skipped},
    {"aftncn", skipped},
    {"xe", skipped},
    {"tc", skipped},
    {"tcn", skipped},
    {"rxe", skipped},
    {"txe", skipped},
    {"bkmkstart", skipped},
    {"bkmkend", skipped},
    {"filetbl", skipped},
    {"revtbl", skipped},
    {"listtable", skipped},
    {"listoverridetable", skipped},
    {"rsidtbl", skipped},
    {"generator", skipped},
    {"template", skipped},
    {"private1", skipped},
    {"comment", skipped},
    {"sp", skipped},
    {"shprslt", skipped},
    {"nonshppict", skipped},
    {"shppict", skipped},
    {"themedata", skipped},
    {"colorschememapping", skipped},
    {"datastore", skipped},
    {"latentstyles", skipped},
    {"xmlnstbl", skipped},
    {"userprops", skipped},
    {"mmathPr", skipped},
    {"falt", skipped},
    {"panose", skipped},
    {"fontemb", skipped},
    {"pgptbl", skipped},
    {"passwordhash", skipped},
    {"pn", skipped},
    {"pnseclvl", skipped},
    {"wgrffmtfilter", skipped},
    {"background", skipped},
    {"do", skipped},
    {"keywords", skipped},
    {"title", skipped},
    {"author", skipped},
    {"operator", skipped},
    {"subject", skipped},
    {"company", skipped},
    {"doccomm", skipped},
    {"NeXTGraphic", skipped},
    {"expandedcolortbl", skipped},
    {"levelmarker", skipped},
}));

static_assert(std::ranges::adjacent_find(words, {}, &Entry::name) == words.end());

} // namespace

RtfMeaning rtfMeaning(std::string_view word) {
    const auto found = std::ranges::lower_bound(words, word, {}, &Entry::name);
    if (found == words.end() || found->name != word)
        return {};
    return {found->word, found->value, true};
}

} // namespace vennic::worker
