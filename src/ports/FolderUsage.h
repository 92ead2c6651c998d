#pragma once
#include "base/LocalizedError.h"

#include <QString>

namespace vennic {

/// What folders take of the disk. Any thread may use it; each call may block on the disk.
class FolderUsage {
public:
    virtual ~FolderUsage() = default;
    /// Bytes of the blocks that everything below `path` takes, itself included; what can't be read counts as nothing.
    /// Symbolic links count for themselves and are not followed; a file with several names counts once.
    virtual qint64 allocatedBytes(const QString& path) = 0;
    /// Removes a folder and all that is below it; links are removed, not followed. Raises LocalizedError.
    virtual void removeFolder(const QString& path) = 0;
};

} // namespace vennic
