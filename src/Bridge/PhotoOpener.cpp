#include "Bridge/PhotoOpener.h"

#include "base/Localized.h"
#include "base/LocalizedError.h"
#include "base/Pool.h"

#include <QSaveFile>

#include <cerrno>

namespace vennic {

namespace {

/// The text with each %XX replaced by its byte (RFC 3986, 2.1); none when a % stands alone or the bytes aren't UTF-8.
std::optional<QString> withoutPercentEncoding(const QString& text) {
    const QByteArray encoded = text.toUtf8();
    QByteArray bytes;
    for (qsizetype at = 0; at < encoded.size(); ++at) {
        if (encoded[at] != '%') {
            bytes.append(encoded[at]);
            continue;
        }
        const QByteArray digits = encoded.mid(at + 1, 2);
        const auto isHexadecimal = [](char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; };
        if (digits.size() != 2 || !isHexadecimal(digits[0]) || !isHexadecimal(digits[1]))
            return std::nullopt;
        bytes.append(static_cast<char>(digits.toInt(nullptr, 16)));
        at += 2;
    }
    return bytes.isValidUtf8() ? std::optional(QString::fromUtf8(bytes)) : std::nullopt;
}

/// Of the call that has just failed, by errno: Qt tells neither whether it was for a want of permission nor, in French,
/// why.
QString writeFailure(int error) {
    switch (error) {
    case EACCES:
    case EPERM:
    case EROFS:
        return QStringLiteral("Tu n'as pas l'autorisation d'enregistrer dans le dossier temporaire.");
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
    case EIO:
        return QStringLiteral("Le disque est plein ou a signalé une erreur.");
    default:
        return QStringLiteral("Le dossier temporaire n'a pas pu être ouvert.");
    }
}

/// Runs on the pool. The sentence of a failure.
std::optional<QString> write(const QString& path, const QByteArray& data) {
    QSaveFile file(path);
    // Flushed by itself: committing what couldn't be flushed makes calls of its own.
    if (file.open(QIODevice::WriteOnly) && file.write(data) == data.size() && file.flush() && file.commit())
        return std::nullopt;
    return writeFailure(errno);
}

void openWith(std::stop_token stop, const std::shared_ptr<Workspace>& workspace, const QString& path) {
    workspace->open(path, std::move(stop));
}

using Found = std::optional<PhotoAsset>;
Found assetOf(const std::shared_ptr<PhotoLibrary>& library, const QString& identifier) {
    return library->asset(identifier);
}

/// The image, or the sentence that says why there is none.
using Exported = std::variant<PhotoImage, QString>;
Exported imageOf(const std::shared_ptr<PhotoLibrary>& library, const QString& identifier) {
    try {
        if (auto image = library->imageData(identifier))
            return *std::move(image);
        return localized("Impossible d'exporter la photo.");
    } catch (const LocalizedError& error) {
        return error.errorDescription();
    }
}

} // namespace

Task<> PhotoOpener::open(QString percentEncodedIdentifier) const {
    const QString identifier = withoutPercentEncoding(percentEncodedIdentifier).value_or(percentEncodedIdentifier);
    if (const auto failure = co_await show(identifier))
        co_await dialogs_.warn(localized("Photo"), *failure);
}

Task<std::optional<QString>> PhotoOpener::show(QString identifier) const {
    const Found asset = co_await onPool(assetOf, library_, identifier);
    if (!asset)
        co_return localized("Photo introuvable dans la bibliothèque.");
    Exported exported = co_await onPoolWaiting(imageOf, library_, identifier);
    if (const auto* failure = std::get_if<QString>(&exported))
        co_return *failure;
    co_return co_await showImage(std::get<PhotoImage>(std::move(exported)));
}

Task<std::optional<QString>> PhotoOpener::showImage(PhotoImage image) const {
    const QString path = QStringLiteral("%1/vennic-%2.%3")
                             .arg(temporaryDirectory_, identifiers_(), extensionFor(image.uniformTypeIdentifier));
    if (const auto failure = co_await onPoolWaiting(write, path, image.data))
        co_return localized("Écriture temporaire échouée: ") + *failure;
    try {
        co_await onPoolWaiting(openWith, workspace_, path);
        co_return std::nullopt;
    } catch (const LocalizedError& error) {
        co_return error.errorDescription();
    }
}

QString PhotoOpener::extensionFor(const QString& typeIdentifier) {
    if (typeIdentifier == QLatin1String("public.heic") || typeIdentifier == QLatin1String("public.heif"))
        return QStringLiteral("heic");
    if (typeIdentifier == QLatin1String("public.png"))
        return QStringLiteral("png");
    if (typeIdentifier == QLatin1String("public.tiff"))
        return QStringLiteral("tiff");
    if (typeIdentifier == QLatin1String("com.compuserve.gif"))
        return QStringLiteral("gif");
    return QStringLiteral("jpg");
}

} // namespace vennic
