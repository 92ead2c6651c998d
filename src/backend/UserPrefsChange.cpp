#include "backend/UserPrefsChange.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace vennic {

QByteArray UserPrefsChange::encode() const {
    QJsonObject user;
    const auto put = [&user](QLatin1String key, const auto& value) {
        if (value)
            user.insert(key, *value);
    };
    put(QLatin1String("default_voice_mode"), voiceMode);
    put(QLatin1String("default_provider"), provider);
    put(QLatin1String("transcribe_audio"), transcribeAudio);
    put(QLatin1String("audio_output"), audioOutput);
    put(QLatin1String("default_audio_voice"), audioVoice);
    return QJsonDocument(QJsonObject{{QStringLiteral("user"), user}}).toJson(QJsonDocument::Compact);
}

} // namespace vennic
