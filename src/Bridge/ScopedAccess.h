#pragma once
#include "Bridge/FileURL.h"
#include "ports/FolderBookmarks.h"

#include <memory>
#include <utility>

namespace vennic {

/// Access to one resolved folder, closed exactly once at its end, and only if it was opened. A refused opening is no
/// failure: what the file system then refuses is told in the usual way.
class ScopedAccess {
public:
    ScopedAccess(std::shared_ptr<FolderBookmarks> bookmarks, const FileURL& folder)
        : bookmarks_(std::move(bookmarks)), path_(folder.path), opened_(bookmarks_->startAccessing(path_)) {}
    ScopedAccess(ScopedAccess&& other) noexcept
        : bookmarks_(std::move(other.bookmarks_)), path_(std::move(other.path_)),
          opened_(std::exchange(other.opened_, false)) {}
    ScopedAccess& operator=(ScopedAccess&&) = delete;
    ScopedAccess(const ScopedAccess&) = delete;
    ScopedAccess& operator=(const ScopedAccess&) = delete;
    ~ScopedAccess() {
        if (opened_)
            bookmarks_->stopAccessing(path_);
    }

private:
    std::shared_ptr<FolderBookmarks> bookmarks_;
    QString path_;
    bool opened_;
};

} // namespace vennic
