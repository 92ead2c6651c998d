#pragma once
#include "linux/FolderIdentity.h"

#include <chrono>

namespace vennic {

/// Looks for a folder that was renamed or moved: in the folder that held it and below, nearest first, then in the
/// folders above up to the home directory. It doesn't leave the file system, enters neither hidden folders (the trash
/// is one) nor links, and ends when its limits are reached. A folder without a time of birth isn't looked for: its
/// inode number may be another folder's by now.
class MovedFolderSearch {
public:
    struct Limits {
        int entries = 200'000; // met, of any kind
        std::chrono::milliseconds time{2000};
    };
    explicit MovedFolderSearch(QString home) : MovedFolderSearch(std::move(home), Limits()) {}
    MovedFolderSearch(QString home, Limits limits) : home_(std::move(home)), limits_(limits) {}

    /// The folder's present path, absolute.
    std::optional<QString> find(const FolderIdentity& wanted) const;

private:
    struct Progress;
    std::optional<QByteArray> findBelow(const QByteArray& top, const FolderIdentity& topIdentity,
                                        Progress& progress) const;

    QString home_;
    Limits limits_;
};

} // namespace vennic
