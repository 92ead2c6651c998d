#include "app/Paths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace vennic {

namespace {

QString fromEnvironment(const char* name, const QString& fallback) {
    const QString value = QFile::decodeName(qgetenv(name));
    // The XDG base directory specification: relative paths are invalid and are to be ignored.
    return QDir::isAbsolutePath(value) ? QDir::cleanPath(value) : fallback;
}

} // namespace

Paths Paths::ofThisProcess() {
    const QString home = QDir::homePath();
    Paths paths;
    paths.data = fromEnvironment("XDG_DATA_HOME", home + QStringLiteral("/.local/share")) + QStringLiteral("/vennic");
    paths.cache = fromEnvironment("XDG_CACHE_HOME", home + QStringLiteral("/.cache")) + QStringLiteral("/vennic");
    paths.configuration = fromEnvironment("XDG_CONFIG_HOME", home + QStringLiteral("/.config"));
    paths.runtime = fromEnvironment("XDG_RUNTIME_DIR", QString());
    paths.runtime =
        paths.runtime.isEmpty() ? paths.cache + QStringLiteral("/run") : paths.runtime + QStringLiteral("/vennic");
    paths.programs = QFileInfo(QFile::symLinkTarget(QStringLiteral("/proc/self/exe"))).path();
    paths.resources = QDir::cleanPath(paths.programs + QStringLiteral("/../share/vennic"));
    return paths;
}

QString Paths::screenModule() const {
    const QString beside = programs + QStringLiteral("/vennic-screen.so");
    return QFile::exists(beside)
               ? beside
               : QDir::cleanPath(programs + QStringLiteral("/../" VENNIC_MODULES "/vennic-screen.so"));
}

} // namespace vennic
