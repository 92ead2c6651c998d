#pragma once
#include "Bridge/FileURL.h"

#include <QHash>

#include <list>
#include <optional>

namespace vennic {

/// The map from opaque document handles to files: first in, first out, in memory only. Main thread only.
class BridgeIDCache {
public:
    explicit BridgeIDCache(qint64 capacity = 1000) : capacity_(capacity) {}

    /// Enters a handle as the newest; the oldest ones beyond the capacity are forgotten.
    void put(const QString& id, const FileURL& url);
    /// The file behind a handle. Asking doesn't make the handle any younger.
    std::optional<FileURL> get(const QString& id) const;
    qint64 size() const { return storage_.size(); }
    qint64 capacity() const { return capacity_; }

private:
    struct Entry {
        FileURL url;
        std::list<QString>::iterator position; // in `order_`
    };
    std::list<QString> order_; // oldest first
    QHash<QString, Entry> storage_;
    qint64 capacity_;
};

} // namespace vennic
