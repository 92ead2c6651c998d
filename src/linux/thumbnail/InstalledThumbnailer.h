#pragma once
#include <QString>
#include <QStringList>

#include <optional>

namespace vennic {

/// A program of the system that draws small pictures of some kinds of files, as its ".thumbnailer" file describes it:
/// a key file with the group "Thumbnailer Entry" and the keys TryExec, Exec and MimeType, as desktops have them.
struct InstalledThumbnailer {
    QList<QByteArray> exec; // the arguments of Exec, with its placeholders

    /// The program and its arguments, with the placeholders filled: %i the file, %u its address, %o the picture to be
    /// written, %s the longest side in pixels, %% a percent sign.
    QList<QByteArray> command(const QByteArray& input, const QByteArray& output, int edge) const;
    bool operator==(const InstalledThumbnailer&) const = default;
};

/// The first one for a MIME type below the "thumbnailers" folders of `dataFolders`, earlier folders and names first,
/// whose program is there.
std::optional<InstalledThumbnailer> installedThumbnailer(const QString& mimeType, const QStringList& dataFolders);

/// $XDG_DATA_HOME and $XDG_DATA_DIRS (XDG Base Directory Specification).
QStringList dataFolders();

} // namespace vennic
