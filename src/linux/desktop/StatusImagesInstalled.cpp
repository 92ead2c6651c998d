#include "linux/desktop/StatusImagesInstalled.h"

#include <QFile>

namespace vennic {

namespace {

constexpr qint64 largestFile = qint64{64} * 1024;

// Five bars of a sound.
constexpr QByteArrayView waveform =
    R"(<svg xmlns="http://www.w3.org/2000/svg" width="18" height="18" viewBox="0 0 18 18">
  <path d="M2.5 7.5v3M5.5 5v8M9 2.5v13M12.5 5v8M15.5 7.5v3" fill="none" stroke="#000" stroke-width="2" stroke-linecap="round"/>
</svg>)";

/// The name under which a picture is installed in the icon theme, where desktops colour it as they like.
QString themeNameOf(const QString& name) {
    return name == QLatin1String("VennicStatusIcon") ? QStringLiteral("com.vennic.desktop-symbolic") : QString();
}

} // namespace

std::optional<StatusImage> StatusImagesInstalled::named(const QString& name) const {
    QFile file(QStringLiteral("%1/%2.svg").arg(resources_, name));
    if (!file.open(QIODevice::ReadOnly) || file.size() > largestFile)
        return std::nullopt;
    StatusImage image;
    image.svg = file.read(largestFile);
    const QString themeName = themeNameOf(name);
    if (QFile::exists(QStringLiteral("%1/../icons/hicolor/symbolic/apps/%2.svg").arg(resources_, themeName)))
        image.themeName = themeName;
    return image;
}

std::optional<StatusImage> StatusImagesInstalled::symbol(const QString& name,
                                                         const QString& accessibilityDescription) const {
    if (name != QLatin1String("waveform"))
        return std::nullopt;
    StatusImage image;
    image.svg = waveform.toByteArray();
    image.accessibilityDescription = accessibilityDescription;
    return image;
}

} // namespace vennic
