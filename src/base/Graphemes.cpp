#include "base/Graphemes.h"

#include "base/GraphemeClasses.h"
#include "base/Utf8.h"

#include <cstdint>

namespace vennic {
namespace {

/// The state of the boundary rules between two code points.
class Boundaries {
public:
    /// Whether a new user-perceived character begins with a code point of these traits; moves past it.
    bool beginsAt(GraphemeTraits next) {
        const bool begins = !started_ || !joins(next);
        follow(next);
        return begins;
    }

    /// Whether a code point below U+0300 other than CR and LF is sure to begin a character here.
    bool plainBegins() const {
        return !started_ || (previous_ != GraphemeClass::carriageReturn && previous_ != GraphemeClass::prepend &&
                             emoji_ != Emoji::joined);
    }

    void restartAfter(GraphemeTraits last) {
        *this = Boundaries();
        follow(last);
    }

private:
    enum class Emoji : std::uint8_t { none, pictograph, joined };
    enum class Conjunct : std::uint8_t { none, consonant, linked };

    bool joins(GraphemeTraits next) const {
        using enum GraphemeClass;
        const GraphemeClass to = next.breakClass;
        if (previous_ == carriageReturn && to == lineFeed)
            return true;
        if (isHard(previous_) || isHard(to))
            return false;
        if (to == extend || to == joiner || to == spacingMark || previous_ == prepend)
            return true;
        switch (previous_) {
        case hangulL:
            return to == hangulL || to == hangulV || to == hangulLV || to == hangulLVT;
        case hangulLV:
        case hangulV:
            return to == hangulV || to == hangulT;
        case hangulLVT:
        case hangulT:
            return to == hangulT;
        case regionalIndicator:
            return to == regionalIndicator && oddIndicators_;
        default:
            break;
        }
        return (to == pictograph && emoji_ == Emoji::joined) ||
               (next.linkingConsonant && conjunct_ == Conjunct::linked);
    }

    void follow(GraphemeTraits next) {
        using enum GraphemeClass;
        const GraphemeClass to = next.breakClass;
        oddIndicators_ = to == regionalIndicator && !(previous_ == regionalIndicator && oddIndicators_);
        if (to == pictograph)
            emoji_ = Emoji::pictograph;
        else if (to == joiner && emoji_ == Emoji::pictograph)
            emoji_ = Emoji::joined;
        else if (to != extend || emoji_ != Emoji::pictograph)
            emoji_ = Emoji::none;
        if (next.linkingConsonant)
            conjunct_ = Conjunct::consonant;
        else if (next.virama && conjunct_ != Conjunct::none)
            conjunct_ = Conjunct::linked;
        else if (!next.combining)
            conjunct_ = Conjunct::none;
        previous_ = to;
        started_ = true;
    }

    static bool isHard(GraphemeClass c) {
        return c == GraphemeClass::control || c == GraphemeClass::carriageReturn || c == GraphemeClass::lineFeed;
    }

    GraphemeClass previous_ = GraphemeClass::other;
    Emoji emoji_ = Emoji::none;
    Conjunct conjunct_ = Conjunct::none;
    bool oddIndicators_ = false;
    bool started_ = false;
};

constexpr std::size_t blockUnits = 32;

// Below U+0300 nothing joins but CR LF, so whole blocks are counted at once. The loops have a fixed length and no
// branch: the compiler turns each into a handful of vector instructions.
[[gnu::always_inline]] inline bool isPlainBlock(const char* text) {
    unsigned char foreign = 0;
    for (std::size_t i = 0; i < blockUnits; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        foreign |= static_cast<unsigned char>(byte >= 0xCC) | static_cast<unsigned char>(byte == '\r');
    }
    return foreign == 0;
}

[[gnu::always_inline]] inline bool isPlainBlock(const char16_t* text) {
    std::uint16_t foreign = 0;
    for (std::size_t i = 0; i < blockUnits; ++i)
        foreign |= static_cast<std::uint16_t>(text[i] >= 0x300) | static_cast<std::uint16_t>(text[i] == u'\r');
    return foreign == 0;
}

[[gnu::always_inline]] inline std::size_t charactersInBlock(const char* text) {
    unsigned char continuations = 0;
    for (std::size_t i = 0; i < blockUnits; ++i)
        continuations += static_cast<unsigned char>((static_cast<unsigned char>(text[i]) & 0xC0) == 0x80);
    return blockUnits - continuations;
}

[[gnu::always_inline]] inline std::size_t charactersInBlock(const char16_t*) { return blockUnits; }

inline bool endsInsideCharacter(char lastUnit) { return static_cast<unsigned char>(lastUnit) >= 0xC0; }
inline bool endsInsideCharacter(char16_t) { return false; }

template <class Unit>
[[gnu::always_inline]] inline GraphemeCut plainRunBody(std::basic_string_view<Unit> text, std::size_t most) {
    GraphemeCut run;
    while (text.size() - run.length >= blockUnits && run.characters + blockUnits <= most &&
           isPlainBlock(text.data() + run.length)) {
        run.characters += charactersInBlock(text.data() + run.length);
        run.length += blockUnits;
    }
    if (run.length > 0 && endsInsideCharacter(text[run.length - 1])) {
        --run.length;
        --run.characters;
    }
    return run;
}

#if defined(__x86_64__)
template <class Unit>
[[gnu::target("avx2")]] GraphemeCut plainRunWide(std::basic_string_view<Unit> text, std::size_t most) {
    return plainRunBody(text, most);
}
#endif

/// The run of blocks at the beginning of `text` in which each code point is a character of its own.
template <class Unit>
GraphemeCut plainRun(std::basic_string_view<Unit> text, std::size_t most) {
#if defined(__x86_64__)
    static const bool wide = __builtin_cpu_supports("avx2");
    if (wide)
        return plainRunWide(text, most);
#endif
    return plainRunBody(text, most);
}

Utf8Step stepAt(std::string_view text, std::size_t at) { return utf8At(text, at); }

Utf8Step stepAt(std::u16string_view text, std::size_t at) {
    const char32_t unit = text[at];
    if ((unit & 0xFC00) == 0xD800 && at + 1 < text.size() && (text[at + 1] & 0xFC00) == 0xDC00)
        return {0x10000 + ((unit & 0x3FF) << 10) + (text[at + 1] & 0x3FFU), 2};
    return {unit, 1};
}

std::size_t lastStart(std::string_view text, std::size_t end) {
    return (static_cast<unsigned char>(text[end - 1]) & 0xC0) == 0x80 && end > 1 ? end - 2 : end - 1;
}
std::size_t lastStart(std::u16string_view, std::size_t end) { return end - 1; }

template <class Unit>
GraphemeCut cut(std::basic_string_view<Unit> text, std::size_t most) {
    Boundaries boundaries;
    GraphemeCut done;
    std::size_t nextTry = 0; // a failed look for a run isn't repeated inside the same block
    while (done.length < text.size()) {
        if (done.length >= nextTry && boundaries.plainBegins()) {
            const GraphemeCut run = plainRun(text.substr(done.length), most - done.characters);
            nextTry = done.length + run.length + blockUnits;
            if (run.length > 0) {
                done.characters += run.characters;
                done.length += run.length;
                boundaries.restartAfter(graphemeTraits(stepAt(text, lastStart(text, done.length)).codePoint));
                continue;
            }
        }
        const Utf8Step step = stepAt(text, done.length);
        if (boundaries.beginsAt(graphemeTraits(step.codePoint))) {
            if (done.characters == most)
                return done;
            ++done.characters;
        }
        done.length += step.length;
    }
    return done;
}

} // namespace

GraphemeCut cutGraphemes(std::string_view text, std::size_t most) noexcept { return cut(text, most); }
GraphemeCut cutGraphemes(std::u16string_view text, std::size_t most) noexcept { return cut(text, most); }

} // namespace vennic
