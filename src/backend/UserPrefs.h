#pragma once
#include <QByteArray>
#include <QString>

#include <optional>

namespace vennic {

/// The account's defaults. A missing value is one that the account doesn't have.
struct UserPrefs {
    qint64 id = 0;
    std::optional<QString> email{};
    std::optional<QString> default_voice_mode{}; // "ptt" or "realtime"
    std::optional<QString> default_provider{};   // a raw value of Provider
    std::optional<QString> default_model{};      // read; nothing uses it
    std::optional<bool> transcribe_audio{};
    std::optional<bool> audio_output{};
    std::optional<QString> default_audio_voice{};
    bool operator==(const UserPrefs&) const = default;

    /// Of an answer's body. Raises DecodingError.
    static UserPrefs decode(const QByteArray& body);
};

} // namespace vennic
