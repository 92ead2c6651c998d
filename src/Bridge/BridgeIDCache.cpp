#include "Bridge/BridgeIDCache.h"

namespace vennic {

void BridgeIDCache::put(const QString& id, const FileURL& url) {
    if (const auto known = storage_.constFind(id); known != storage_.cend())
        order_.erase(known->position);
    storage_.insert(id, Entry{url, order_.insert(order_.end(), id)});
    while (storage_.size() > capacity_) {
        storage_.remove(order_.front());
        order_.pop_front();
    }
}

std::optional<FileURL> BridgeIDCache::get(const QString& id) const {
    const auto known = storage_.constFind(id);
    return known == storage_.cend() ? std::nullopt : std::optional(known->url);
}

} // namespace vennic
