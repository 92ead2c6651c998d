#include "Bridge/FileURL.h"

#include <QStringTokenizer>

#include <algorithm>

namespace vennic {

namespace {

QStringView withoutTrailingSlashes(QStringView path) {
    while (path.size() > 1 && path.endsWith(u'/'))
        path.chop(1);
    return path;
}

} // namespace

QString FileURL::lastPathComponent() const {
    const QStringView trimmed = withoutTrailingSlashes(path);
    if (trimmed == u"/")
        return trimmed.toString();
    return trimmed.sliced(trimmed.lastIndexOf(u'/') + 1).toString();
}

QString FileURL::pathExtension() const {
    const QString name = lastPathComponent();
    const qsizetype dot = name.lastIndexOf(u'.');
    return dot > 0 ? name.sliced(dot + 1) : QString();
}

FileURL FileURL::deletingLastPathComponent() const {
    const QStringView trimmed = withoutTrailingSlashes(path);
    const qsizetype slash = trimmed.lastIndexOf(u'/');
    return FileURL{slash <= 0 ? QStringLiteral("/") : trimmed.first(slash).toString()};
}

FileURL FileURL::appendingPathComponent(const QString& component) const {
    return FileURL{path.endsWith(u'/') ? path + component : path + u'/' + component};
}

FileURL FileURL::standardized() const {
    QString kept;
    for (const QStringView piece : QStringView(path).tokenize(u'/', Qt::SkipEmptyParts)) {
        if (piece == u".")
            continue;
        if (piece == u"..")
            kept.truncate(std::max<qsizetype>(kept.lastIndexOf(u'/'), 0));
        else
            (kept += u'/') += piece;
    }
    return FileURL{kept.isEmpty() ? QStringLiteral("/") : kept};
}

bool FileURL::isOrLiesUnder(const FileURL& folder) const {
    return path == folder.path || path.startsWith(folder.path + u'/');
}

QString displayPath(const QString& path, const QString& homeDirectory) {
    if (homeDirectory.size() <= 1) // nobody's home, or the root of everything: nothing to hide
        return path;
    return QString(path).replace(homeDirectory, QStringLiteral("~"));
}

} // namespace vennic
