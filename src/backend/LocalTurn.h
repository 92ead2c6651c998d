#pragma once
#include <QByteArray>
#include <QString>

#include <optional>

namespace vennic {

/// A turn that was answered on this machine, for the backend to file.
struct LocalTurn {
    QString prompt{};
    QString responseText{};
    QString model{};
    std::optional<qint64> discussionId{};
    std::optional<QString> ref{};
    bool operator==(const LocalTurn&) const = default;

    /// The request's body.
    QByteArray encode() const;
};

} // namespace vennic
