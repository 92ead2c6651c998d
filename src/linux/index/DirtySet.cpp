#include "linux/index/DirtySet.h"

#include <algorithm>

namespace vennic::index {

void DirtySet::touch(std::uint32_t folder, const std::string& name, Moment now) {
    Times& times = entries_.try_emplace({folder, name}, Times{now, now, {}}).first->second;
    times.last = now;
    if (!times.nameDue)
        times.nameDue = now + nameDelay;
}

std::vector<DirtySet::Key> DirtySet::takeNames(Moment now) {
    std::vector<Key> due;
    for (auto& [key, times] : entries_) {
        if (times.nameDue && *times.nameDue <= now) {
            times.nameDue.reset();
            due.push_back(key);
        }
    }
    return due;
}

std::optional<DirtySet::Key> DirtySet::takeText(Moment now) {
    for (auto at = entries_.begin(); at != entries_.end(); ++at) {
        if (!at->second.nameDue && at->second.textDue() <= now) {
            Key key = at->first;
            entries_.erase(at);
            return key;
        }
    }
    return std::nullopt;
}

std::optional<DirtySet::Moment> DirtySet::nextDue() const {
    std::optional<Moment> next;
    for (const auto& [key, times] : entries_) {
        const Moment due = times.nameDue.value_or(times.textDue());
        next = next ? std::min(*next, due) : due;
    }
    return next;
}

} // namespace vennic::index
