#include "app/GrantedFileIndex.h"

#include <algorithm>

namespace vennic {

void GrantedFileIndex::setFolders(const QStringList& folders) {
    asked_.clear();
    if (known_ && folders == folders_)
        return; // each setting has the index look at all of them again
    known_ = true;
    folders_ = folders;
    index_.setFolders(folders);
}

std::unique_ptr<IndexQuery> GrantedFileIndex::query(const IndexPredicate& predicate, const QStringList& scopes,
                                                    qint64 limit) {
    const auto isNews = [&](const QString& scope) { return !folders_.contains(scope) && !asked_.contains(scope); };
    if (known_ && std::ranges::any_of(scopes, isNews)) {
        asked_ += scopes;
        moved_();
    }
    return index_.query(predicate, scopes, limit);
}

} // namespace vennic
