#include "backend/UserPrefs.h"

#include "base/Json.h"

namespace vennic {

UserPrefs UserPrefs::decode(const QByteArray& body) {
    const QJsonObject object = parseJsonObject(body);
    UserPrefs prefs;
    prefs.id = requiredInteger(object, QLatin1String("id"));
    prefs.email = optionalString(object, QLatin1String("email"));
    prefs.default_voice_mode = optionalString(object, QLatin1String("default_voice_mode"));
    prefs.default_provider = optionalString(object, QLatin1String("default_provider"));
    prefs.default_model = optionalString(object, QLatin1String("default_model"));
    prefs.transcribe_audio = optionalBoolean(object, QLatin1String("transcribe_audio"));
    prefs.audio_output = optionalBoolean(object, QLatin1String("audio_output"));
    prefs.default_audio_voice = optionalString(object, QLatin1String("default_audio_voice"));
    return prefs;
}

} // namespace vennic
