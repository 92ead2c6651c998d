#pragma once
#include <QString>

namespace vennic {

/// The place of a file or folder: an absolute path, kept as it was spelled. Nothing here touches the disk.
struct FileURL {
    QString path;

    /// "c.txt" of "/a/b/c.txt" and of "/a/b/c.txt/"; "/" of the root.
    QString lastPathComponent() const;
    /// "gz" of "a.tar.gz", as it was spelled; empty for "a", "a." and ".hidden".
    QString pathExtension() const;
    FileURL deletingLastPathComponent() const;
    FileURL appendingPathComponent(const QString& component) const;
    /// Without ".", "..", empty components and a slash at its end; symbolic links are not followed.
    FileURL standardized() const;
    /// Whether this path is `folder`'s, or begins with it and a slash: both compared as they stand.
    bool isOrLiesUnder(const FileURL& folder) const;
    bool operator==(const FileURL&) const = default;
};

/// A path as it may leave this machine: every occurrence of the home directory written "~".
QString displayPath(const QString& path, const QString& homeDirectory);

} // namespace vennic
