#include "linux/dialog/FolderRequest.h"

#include "base/Json.h"
#include "linux/dialog/DialogRequest.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>

namespace vennic {

namespace {
constexpr auto promptKey = QLatin1String("folderPrompt");
constexpr auto messageKey = QLatin1String("folderMessage");
} // namespace

QByteArray encoded(const FolderPanel& panel) {
    const QJsonObject object{{promptKey, panel.prompt}, {messageKey, panel.message}};
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<FolderPanel> decodedFolderPanel(const QByteArray& json) {
    if (json.size() > DialogRequest::mostBytes)
        return std::nullopt;
    try {
        const QJsonObject object = parseJsonObject(json);
        return FolderPanel{.prompt = requiredString(object, promptKey), .message = requiredString(object, messageKey)};
    } catch (const DecodingError&) {
        return std::nullopt;
    }
}

QByteArray encodedChoice(const QStringList& paths) {
    QByteArray answer;
    for (const QString& path : paths)
        answer += QFile::encodeName(path) + '\0';
    return answer;
}

QStringList decodedChoice(const QByteArray& answer) {
    QStringList paths;
    for (const QByteArray& name : answer.split('\0')) {
        const QString path = QFile::decodeName(name);
        if (QDir::isAbsolutePath(path))
            paths.append(path);
    }
    return paths;
}

} // namespace vennic
