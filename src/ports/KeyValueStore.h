#pragma once
#include <QByteArray>
#include <QString>

#include <optional>
#include <variant>

namespace vennic {

/// A value of the key-value store. The type is kept: an integer is never read back as a string.
using StoredValue = std::variant<bool, qint64, double, QString, QByteArray>;

/// The persistent, typed map of preferences. A read sees the last write at once; writing never blocks on the disk
/// and never fails towards its caller. Main thread only.
class KeyValueStore {
public:
    virtual ~KeyValueStore() = default;
    /// The value under `key`; none when the key is missing, which is not the same as false or empty.
    virtual std::optional<StoredValue> value(const QString& key) const = 0;
    virtual void set(const QString& key, StoredValue value) = 0;
    virtual void remove(const QString& key) = 0;
};

/// The value under `key` if it is there and has the type T.
template <class T>
std::optional<T> storedAs(const KeyValueStore& store, const QString& key) {
    const auto value = store.value(key);
    if (!value)
        return std::nullopt;
    const auto* typed = std::get_if<T>(&*value);
    return typed ? std::optional<T>(*typed) : std::nullopt;
}

} // namespace vennic
