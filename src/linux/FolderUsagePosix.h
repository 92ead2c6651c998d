#pragma once
#include "ports/FolderUsage.h"

namespace vennic {

/// Folder usage by stat(2), whose blocks are of 512 bytes.
class FolderUsagePosix final : public FolderUsage {
public:
    qint64 allocatedBytes(const QString& path) override;
    void removeFolder(const QString& path) override;
};

} // namespace vennic
