#pragma once
#include "linux/index/Bitmap.h"

#include <vector>

namespace vennic::index {

/// "All patterns of at least one group" over n patterns. Groups that are all subsets of one size are counted
/// instead of tried one by one.
class GroupRule {
public:
    GroupRule(std::size_t patterns, std::vector<std::vector<int>> groups);

    /// Whether nothing can hold.
    bool never() const { return groups_.empty() && !needed_; }
    /// Whether every single pattern is needed.
    bool needsAll() const { return needed_ == patterns_; }
    /// Whether the rule holds when exactly the patterns with a true value match.
    bool holds(const std::vector<bool>& matches) const;
    /// The documents for which the rule holds, given those of each pattern.
    Bitmap combine(const std::vector<const Bitmap*>& patterns, std::size_t documents) const;

private:
    std::size_t patterns_;
    std::vector<std::vector<int>> groups_; // empty when `needed_` says it
    std::size_t needed_ = 0;               // at least so many of the patterns
};

} // namespace vennic::index
