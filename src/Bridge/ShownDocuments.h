#pragma once
#include "Bridge/BookmarkPersistence.h"
#include "Bridge/BridgeIDCache.h"
#include "base/Task.h"
#include "ports/FolderBookmarks.h"

#include <memory>
#include <variant>

namespace vennic {

/// Redeems handles for the kinds that show a file instead of reading it. Their test of the shared folders is looser
/// than that of `read`, and their refusals are worded and spaced in their own way. Main thread only.
class ShownDocuments {
public:
    /// The file, or the sentence that refuses it.
    using Redeemed = std::variant<FileURL, QString>;

    ShownDocuments(BookmarkPersistence grants, std::shared_ptr<FolderBookmarks> bookmarks, const BridgeIDCache& idCache)
        : grants_(grants), bookmarks_(std::move(bookmarks)), idCache_(idCache) {}

    /// Opens no access to the folder: the file is handed to the system. Never fails but with Cancelled.
    Task<Redeemed> redeem(QString documentId) const;

private:
    BookmarkPersistence grants_;
    std::shared_ptr<FolderBookmarks> bookmarks_;
    const BridgeIDCache& idCache_;
};

} // namespace vennic
