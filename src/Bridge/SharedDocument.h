#pragma once
#include "Bridge/BookmarkResolver.h"
#include "Bridge/ScopedAccess.h"
#include "base/LocalizedError.h"
#include "base/Task.h"

#include <type_traits>
#include <variant>

namespace vennic {

/// What `work` gives, or the sentence that says why there is nothing.
template <class Work>
using SharedOutcome = std::variant<std::invoke_result_t<Work>, QString>;

/// Works on a document that lies in a shared folder, with the folder's access open meanwhile. Blocks, and is for the
/// pool: a folder on a slow disk, or one that has to be looked for, holds up nothing else. Raises Cancelled alone.
template <class Work>
SharedOutcome<Work> inSharedFolder(const std::shared_ptr<FolderBookmarks>& bookmarks,
                                   const std::vector<BookmarkEntry>& grants, const FileURL& document,
                                   const Work& work) {
    const BookmarkResolver resolver(*bookmarks);
    try {
        const auto grant = resolver.grantOf(document, grants);
        if (!grant)
            return QStringLiteral("Document hors des dossiers partagés.");
        const ScopedAccess access(bookmarks, resolver.resolve(*grant).url);
        return work();
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& error) {
        return localizedDescription(error);
    }
}

/// The words for a handle that leads nowhere, of the tasks that read a document.
inline QString documentNotFound() {
    return QStringLiteral("Document introuvable (la session a pu être nettoyée; relance la recherche).");
}

} // namespace vennic
