#pragma once
#include "ports/KeyValueStore.h"

#include <QMap>

#include <utility>
#include <vector>

namespace vennic::test {

/// Preferences in memory that remember every write.
class KeyValueStoreFake final : public KeyValueStore {
public:
    QMap<QString, StoredValue> values;
    /// Each `set` and each `remove` (none), in order, also of a value that was there already.
    std::vector<std::pair<QString, std::optional<StoredValue>>> writes;

    std::optional<StoredValue> value(const QString& key) const override {
        const auto found = values.constFind(key);
        return found == values.constEnd() ? std::nullopt : std::optional(*found);
    }
    void set(const QString& key, StoredValue value) override {
        values.insert(key, value);
        writes.emplace_back(key, std::move(value));
    }
    void remove(const QString& key) override {
        writes.emplace_back(key, std::nullopt);
        values.remove(key);
    }
    int writesOf(const QString& key) const {
        return static_cast<int>(
            std::count_if(writes.begin(), writes.end(), [&](const auto& write) { return write.first == key; }));
    }
};

} // namespace vennic::test
