#pragma once
#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vennic::index {

/// Entries that have changed on disk and wait until they settle: the name is looked at soon, the text when nothing
/// has happened for a while, or after the longest wait.
class DirtySet {
public:
    using Moment = std::chrono::steady_clock::time_point;
    using Key = std::pair<std::uint32_t, std::string>; // folder, name

    static constexpr std::chrono::milliseconds nameDelay{40};
    static constexpr std::chrono::milliseconds quiet{300};
    static constexpr std::chrono::milliseconds longest{2000};

    void touch(std::uint32_t folder, const std::string& name, Moment now);
    /// Takes the entries whose name is due; they stay for their text.
    std::vector<Key> takeNames(Moment now);
    /// Takes one entry whose text is due, out of the set.
    std::optional<Key> takeText(Moment now);
    /// The entry has no text to wait for.
    void drop(const Key& key) { entries_.erase(key); }
    void clear() { entries_.clear(); }
    bool contains(const Key& key) const { return entries_.contains(key); }
    bool empty() const { return entries_.empty(); }
    std::optional<Moment> nextDue() const;

private:
    struct Times {
        Moment first, last;
        std::optional<Moment> nameDue;
        Moment textDue() const { return std::min(last + quiet, first + longest); }
    };
    std::map<Key, Times> entries_;
};

} // namespace vennic::index
