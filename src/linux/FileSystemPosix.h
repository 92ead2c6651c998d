#pragma once
#include "linux/VolumeLocality.h"
#include "ports/FileSystem.h"

namespace vennic {

/// The machine's files by statx(2), getdents64(2) and readdir(3).
class FileSystemPosix final : public FileSystem {
public:
    /// An entry that is there but whose values the system keeps to itself has none of them.
    std::optional<FileValues> values(const QString& path) override;
    /// See FolderWalkPosix.
    std::unique_ptr<FolderWalk> walk(const QString& root) override;
    /// See FolderListingPosix.
    std::unique_ptr<FolderListing> list(const QString& path) override;
    /// $HOME when it is absolute, else what the account says, else "/".
    QString homeDirectory() override;

private:
    VolumeLocality volumes_;
};

} // namespace vennic
