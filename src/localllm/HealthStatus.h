#pragma once
#include <QString>

namespace vennic {

/// What is known of the local model's server.
struct HealthStatus {
    enum class Case { unknown, checking, ok, down };

    Case state = Case::unknown;
    QString reason{}; // of `down`
    bool operator==(const HealthStatus&) const = default;

    static HealthStatus unknown() { return {}; }
    static HealthStatus checking() { return {Case::checking}; }
    static HealthStatus ok() { return {Case::ok}; }
    static HealthStatus down(const QString& reason) { return {Case::down, reason}; }

    /// For the user.
    QString label() const;
};

} // namespace vennic
