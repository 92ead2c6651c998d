#include "linux/FileTypesShared.h"

#include "linux/DynamicType.h"
#include "linux/MimeByExtension.h"
#include "linux/MimeKinship.h"
#include "linux/PublicMimeTypes.h"
#include "linux/PublicTypes.h"

#include <algorithm>

namespace vennic {

namespace {

constexpr qsizetype longestExtension = 64;
constexpr qsizetype mostRemembered = 512;

bool canBeExtension(const QString& text) {
    return !text.isEmpty() && text.size() <= longestExtension && text.isValidUtf16() &&
           std::ranges::none_of(
               text, [](QChar c) { return c == u'/' || c < u' ' || (c >= QChar(0x7f) && c <= QChar(0x9f)); });
}

bool isOrDescends(std::string_view type, std::string_view ancestor) {
    return type == ancestor || std::ranges::any_of(publicParents(type), [&](std::string_view parent) {
               return isOrDescends(parent, ancestor);
           });
}

} // namespace

std::optional<QString> FileTypesShared::typeForExtension(const QString& extension) const {
    if (!canBeExtension(extension))
        return std::nullopt;
    const QString lower = extension.toLower();
    const std::string utf8 = lower.toStdString();
    if (const std::string_view type = publicType(utf8); !type.empty())
        return QLatin1String(type.data(), static_cast<qsizetype>(type.size()));
    return dynamicType(lower);
}

std::optional<QString> FileTypesShared::mimeTypeForExtension(const QString& extension) const {
    if (!canBeExtension(extension))
        return std::nullopt;
    const QString lower = extension.toLower();
    const std::string_view mime = publicMimeType(publicType(lower.toStdString()));
    if (!mime.empty())
        return QLatin1String(mime.data(), static_cast<qsizetype>(mime.size()));
    return mimeByExtension(lower);
}

bool FileTypesShared::conforms(const QString& type, const QString& ancestor) const {
    if (type == ancestor)
        return true;
    const std::string wanted = ancestor.toStdString();
    if (!isDynamicType(type))
        return isOrDescends(type.toStdString(), wanted);
    return std::ranges::any_of(parentsOfDynamic(type), [&](QLatin1String parent) {
        return isOrDescends({parent.data(), static_cast<std::size_t>(parent.size())}, wanted);
    });
}

QString FileTypesShared::typeForFile(const QString& name, bool isDirectory) const {
    if (isDirectory)
        return QStringLiteral("public.folder");
    const qsizetype dot = name.lastIndexOf(u'.');
    const auto type = dot > 0 ? typeForExtension(name.sliced(dot + 1)) : std::nullopt;
    return type.value_or(QStringLiteral("public.data"));
}

QList<QLatin1String> FileTypesShared::parentsOfDynamic(const QString& type) const {
    const QString extension = extensionOfDynamicType(type);
    // Only what typeForExtension gives is a type: the identifier of one extension and no second spelling of it.
    if (typeForExtension(extension) != type)
        return {};
    {
        const std::lock_guard lock(mutex_);
        if (const auto found = dynamicParents_.constFind(extension); found != dynamicParents_.constEnd())
            return *found;
    }
    const QList<QLatin1String> parents = mimeKinship(extension);
    const std::lock_guard lock(mutex_);
    if (dynamicParents_.size() >= mostRemembered)
        dynamicParents_.clear();
    dynamicParents_.insert(extension, parents);
    return parents;
}

} // namespace vennic
