#include "linux/index/GroupRule.h"

#include <algorithm>

namespace vennic::index {

namespace {

/// n over k, or `most` + 1 when it is larger than `most`.
std::size_t choose(std::size_t n, std::size_t k, std::size_t most) {
    std::size_t result = 1;
    k = std::min(k, n - k);
    for (std::size_t i = 1; i <= k; ++i) {
        result = result * (n - k + i) / i;
        if (result > most)
            return most + 1;
    }
    return result;
}

} // namespace

GroupRule::GroupRule(std::size_t patterns, std::vector<std::vector<int>> groups)
    : patterns_(patterns), groups_(std::move(groups)) {
    for (auto& group : groups_) {
        std::ranges::sort(group);
        group.erase(std::unique(group.begin(), group.end()), group.end());
    }
    std::erase_if(groups_, [&](const std::vector<int>& group) { // an impossible group matches nothing
        return !group.empty() && (group.front() < 0 || group.back() >= static_cast<int>(patterns_));
    });
    std::ranges::sort(groups_);
    groups_.erase(std::unique(groups_.begin(), groups_.end()), groups_.end());
    if (groups_.empty())
        return;
    const std::size_t size = groups_.front().size();
    const bool same = std::ranges::all_of(groups_, [&](const auto& group) { return group.size() == size; });
    if (same && size > 0 && groups_.size() == choose(patterns_, size, groups_.size())) {
        needed_ = size;
        groups_.clear();
    }
}

bool GroupRule::holds(const std::vector<bool>& matches) const {
    if (needed_)
        return static_cast<std::size_t>(std::ranges::count(matches, true)) >= needed_;
    return std::ranges::any_of(groups_, [&](const std::vector<int>& group) {
        return std::ranges::all_of(group, [&](int at) { return matches[static_cast<std::size_t>(at)]; });
    });
}

Bitmap GroupRule::combine(const std::vector<const Bitmap*>& patterns, std::size_t documents) const {
    if (needed_) {
        // missing[j]: the documents that lack at most j of the patterns seen so far.
        std::vector<Bitmap> missing(patterns_ - needed_ + 1, Bitmap(documents));
        for (Bitmap& each : missing)
            each.setAll();
        for (const Bitmap* pattern : patterns) {
            for (std::size_t j = missing.size(); j-- > 0;) {
                missing[j] &= *pattern;
                if (j > 0)
                    missing[j] |= missing[j - 1];
            }
        }
        return std::move(missing.back());
    }
    Bitmap result(documents);
    for (const std::vector<int>& group : groups_) {
        Bitmap all(documents);
        all.setAll();
        for (int at : group)
            all &= *patterns[static_cast<std::size_t>(at)];
        result |= all;
    }
    return result;
}

} // namespace vennic::index
