#pragma once
#include "ports/KeyValueStore.h"

#include <map>

namespace vennic::test {

/// Preferences in memory that remember every write.
class KeyValueStoreFake final : public KeyValueStore {
public:
    std::optional<StoredValue> value(const QString& key) const override {
        const auto found = values.find(key);
        return found == values.end() ? std::nullopt : std::optional(found->second);
    }
    void set(const QString& key, StoredValue value) override {
        values[key] = std::move(value);
        writes.append(key);
    }
    void remove(const QString& key) override {
        values.erase(key);
        writes.append(key);
    }

    std::map<QString, StoredValue> values;
    QStringList writes; // the key of each set and remove, in order
};

} // namespace vennic::test
