#include "linux/dialog/DialogRequest.h"

#include "base/Json.h"

#include <QJsonDocument>

namespace vennic {

namespace {
constexpr auto titleKey = QLatin1String("title");
constexpr auto textKey = QLatin1String("text");
constexpr auto acceptKey = QLatin1String("accept");
constexpr auto refuseKey = QLatin1String("refuse");
constexpr auto warningKey = QLatin1String("warning");
constexpr auto darkKey = QLatin1String("dark");
constexpr auto informationalKey = QLatin1String("informational");
constexpr auto suppressionKey = QLatin1String("suppression");
} // namespace

DialogRequest DialogRequest::ofQuestion(const DialogQuestion& question) {
    return {.question = question, .isWarning = false, .isDark = false};
}

DialogRequest DialogRequest::ofWarning(const QString& title, const QString& informativeText) {
    return {.question = {.title = title,
                         .informativeText = informativeText,
                         .accept = QStringLiteral("OK"),
                         .refuse = {},
                         .suppression = {}},
            .isWarning = true,
            .isDark = false};
}

QByteArray encoded(const DialogRequest& request) {
    const QJsonObject object{{titleKey, request.question.title},
                             {textKey, request.question.informativeText},
                             {acceptKey, request.question.accept},
                             {refuseKey, request.question.refuse},
                             {informationalKey, request.question.style == DialogStyle::informational},
                             {suppressionKey, request.question.suppression},
                             {warningKey, request.isWarning},
                             {darkKey, request.isDark}};
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<DialogRequest> decodedDialogRequest(const QByteArray& json) {
    if (json.size() > DialogRequest::mostBytes)
        return std::nullopt;
    try {
        const QJsonObject object = parseJsonObject(json);
        return DialogRequest{.question = {.title = requiredString(object, titleKey),
                                          .informativeText = requiredString(object, textKey),
                                          .accept = requiredString(object, acceptKey),
                                          .refuse = requiredString(object, refuseKey),
                                          .style = requiredBoolean(object, informationalKey)
                                                       ? DialogStyle::informational
                                                       : DialogStyle::question,
                                          .suppression = requiredString(object, suppressionKey)},
                             .isWarning = requiredBoolean(object, warningKey),
                             .isDark = requiredBoolean(object, darkKey)};
    } catch (const DecodingError&) {
        return std::nullopt;
    }
}

} // namespace vennic
