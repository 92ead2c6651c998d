#pragma once
#include <atomic>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vennic::index {

/// One LIKE[c] pattern: `*` is any run of characters, `?` one character (a code point of the folded text), a
/// backslash takes the next character literally. Compares folded text, see `foldedText`.
class LikePattern {
public:
    /// `pattern` is UTF-8.
    explicit LikePattern(std::string_view pattern);

    /// What each matching document's words hold, each as a substring of one word.
    const std::vector<std::string>& pieces() const { return pieces_; }
    /// Whether a document matches exactly when its words hold the pieces; otherwise it is only a candidate.
    bool exact() const { return exact_; }
    /// Whether the whole of `folded` matches. Gives up with false when `stop` becomes true.
    bool matches(std::string_view folded, const std::atomic<bool>* stop = nullptr) const;

private:
    struct Atom { // a run of `skip` arbitrary characters, then a literal
        std::size_t skip = 0;
        std::string literal;
    };
    using Stretch = std::span<const Atom>; // what stands between two stars

    void choosePieces();
    static bool matchesAt(Stretch stretch, std::string_view text, std::size_t& at);
    static bool findStretch(Stretch stretch, std::string_view text, std::size_t& at, const std::atomic<bool>* stop);
    static bool matchesAtEnd(Stretch stretch, std::string_view text, std::size_t from);

    std::vector<std::vector<Atom>> stretches_; // n stars make n + 1 stretches; the outer ones are anchored
    std::vector<std::string> pieces_;
    bool exact_ = false;
};

} // namespace vennic::index
