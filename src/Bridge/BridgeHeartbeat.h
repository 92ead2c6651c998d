#pragma once
#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

namespace vennic {

/// What the backend hears of this machine's local model with each poll. Memory in units of 2^30 bytes.
struct BridgeHeartbeat {
    std::optional<QString> loaded_model;
    std::optional<double> ram_used_gb;
    std::optional<double> ram_total_gb;
    std::optional<double> tok_per_sec_recent; // smoothed
    std::optional<QStringList> downloaded_models;
    bool operator==(const BridgeHeartbeat&) const = default;

    /// Compact JSON in UTF-8; what is absent is left out. It travels in a header, so its length is bounded: models that
    /// would make it longer than 4 KiB are left out, the last ones first.
    QByteArray encode() const;
};

} // namespace vennic
