#pragma once
#include <QDateTime>
#include <QString>

#include <memory>
#include <optional>

namespace vennic {

/// What the file system says of one entry; a missing value couldn't be read.
struct FileValues {
    bool isDirectory = false;
    std::optional<qint64> size;         // bytes, regular files only
    std::optional<QDateTime> changedAt; // last content change, UTC
    std::optional<bool> volumeIsLocal;  // false on network file systems
    bool operator==(const FileValues&) const = default;
};

/// A walk below a folder, depth first, directories before what they hold. Symbolic links are entries and are not
/// followed; hidden entries and what lies under them are passed over; what can't be read is passed over.
class FolderWalk {
public:
    virtual ~FolderWalk() = default;
    /// The absolute path of the next entry; none at the end.
    virtual std::optional<QString> next() = 0;
};

/// What a folder holds under one name.
struct FolderEntry {
    QString name;
    std::optional<FileValues> values; // none when they couldn't be read; whether the volume is local isn't asked
    bool operator==(const FolderEntry&) const = default;
};

/// One level of a folder in the file system's order, without hidden entries (those whose name begins with a dot) and
/// names that aren't text. A folder that stands for a package is one entry like any other. The values of a symbolic
/// link are those of what it leads to.
class FolderListing {
public:
    virtual ~FolderListing() = default;
    /// None at the end. Raises LocalizedError when the folder can't be read any further.
    virtual std::optional<FolderEntry> next() = 0;
};

/// Questions to the file system. Any thread may use it; each call may block on the disk.
class FileSystem {
public:
    virtual ~FileSystem() = default;
    /// None when there is nothing at the path. Symbolic links are followed.
    virtual std::optional<FileValues> values(const QString& path) = 0;
    /// A walk below `root`; null when it can't be opened.
    virtual std::unique_ptr<FolderWalk> walk(const QString& root) = 0;
    /// A listing of the folder at `path`. Symbolic links are followed. Raises LocalizedError when it can't be opened.
    virtual std::unique_ptr<FolderListing> list(const QString& path) = 0;
    /// The user's home directory, absolute, without a slash at its end.
    virtual QString homeDirectory() = 0;
};

} // namespace vennic
