#pragma once
#include "ports/FileSystem.h"

#include <dirent.h>

namespace vennic {

/// One level of a folder by readdir(3), each entry's values by statx(2) seen from the open folder: moving the folder
/// meanwhile changes nothing. Nothing is mounted for it.
class FolderListingPosix final : public FolderListing {
public:
    static std::unique_ptr<FolderListing> open(const QString& path);
    std::optional<FolderEntry> next() override;

private:
    struct Close {
        void operator()(DIR* folder) const { closedir(folder); }
    };
    explicit FolderListingPosix(DIR* folder) : folder_(folder) {}
    std::optional<FileValues> values(const char* name) const;

    std::unique_ptr<DIR, Close> folder_;
};

} // namespace vennic
