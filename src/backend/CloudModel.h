#pragma once
#include <QJsonObject>
#include <QString>

#include <optional>
#include <vector>

namespace vennic {

/// A model of a cloud provider, as the backend lists it.
struct CloudModel {
    qint64 id = 0;
    QString slug{}; // sent as "model"
    std::optional<QString> display_name{};
    std::optional<QString> kind{};   // absent counts as "chat"
    std::optional<QString> tier{};   // carried
    std::optional<QString> status{}; // absent counts as "active"
    std::optional<qint64> context_window{};
    std::optional<bool> supports_tools{};
    std::optional<bool> supports_streaming{};
    std::optional<bool> supports_audio_input{};
    std::optional<bool> supports_image_input{};
    std::optional<bool> supports_file_input{};
    bool operator==(const CloudModel&) const = default;

    /// Raises DecodingError.
    static CloudModel decode(const QJsonObject& object);
    /// What the user reads.
    QString label() const { return display_name.value_or(slug); }
    /// Whether the user may choose it for a conversation.
    bool isOffered() const;
};

/// A cloud provider with its models, in the backend's order.
struct CloudProvider {
    qint64 id = 0;
    QString slug{};
    QString name{};
    std::optional<QString> display_name{};
    std::vector<CloudModel> models{};
    bool operator==(const CloudProvider&) const = default;

    /// Raises DecodingError.
    static CloudProvider decode(const QJsonObject& object);
    QString label() const { return display_name.value_or(name); }
};

} // namespace vennic
