#pragma once
#include <QByteArray>
#include <QString>

#include <optional>

namespace vennic {

/// The account's defaults to write; what is missing stays as it is there.
struct UserPrefsChange {
    std::optional<QString> voiceMode{}; // the backend's word
    std::optional<QString> provider{};
    std::optional<bool> transcribeAudio{};
    std::optional<bool> audioOutput{};
    std::optional<QString> audioVoice{};
    bool operator==(const UserPrefsChange&) const = default;

    /// The request's body.
    QByteArray encode() const;
};

} // namespace vennic
