#pragma once
#include <QJsonObject>
#include <QStringList>

#include <optional>

namespace vennic {

/// What a model gave a tool. A value of the wrong type counts as missing.
class LocalToolArguments {
public:
    /// Text that is no JSON object (RFC 8259), or longer than 64 Ki UTF-16 code units, counts as an empty one.
    explicit LocalToolArguments(const QString& json);

    std::optional<QString> text(QLatin1String key) const;
    /// A number without a fraction that fits 64 bits.
    std::optional<qint64> integer(QLatin1String key) const;
    /// An array of nothing but texts.
    std::optional<QStringList> texts(QLatin1String key) const;

private:
    QJsonObject values_;
};

} // namespace vennic
