#include "Bridge/SharedFolderLevel.h"

#include "Bridge/BookmarkResolver.h"
#include "base/Identifier.h"
#include "base/LocalizedError.h"
#include "base/NameCollation.h"
#include "base/StableSort.h"

#include <algorithm>

namespace vennic {

namespace {

std::vector<FolderEntry> sortedEntries(const SharedFolderQuestion& question, const FileURL& folder) {
    struct Keyed {
        NameCollation::Key key;
        FolderEntry entry;
    };
    const NameCollation collation;
    const auto listing = question.files->list(folder.path);
    std::vector<Keyed> keyed;
    while (auto entry = listing->next()) {
        if (question.stop.stop_requested())
            break;
        auto key = collation.key(entry->name);
        keyed.push_back({std::move(key), *std::move(entry)});
    }
    keyed = stablySorted(std::move(keyed), [](const Keyed& a, const Keyed& b) { return a.key < b.key; });
    std::vector<FolderEntry> entries;
    entries.reserve(keyed.size());
    for (Keyed& each : keyed)
        entries.push_back(std::move(each.entry));
    return entries;
}

} // namespace

SharedFolderLevel listSharedFolder(const SharedFolderQuestion& question, std::optional<ScopedAccess>& access) {
    const auto id = uuidFromText(question.folderId);
    if (!id)
        throw LocalizedError(QStringLiteral("folder_id mal formé."));
    const auto grant = std::ranges::find(question.grants, *id, &BookmarkEntry::id);
    if (grant == question.grants.end())
        throw LocalizedError(QStringLiteral("Ce dossier n'est plus partagé sur le Mac."));
    const auto root = BookmarkResolver(*question.bookmarks).resolveIfPossible(*grant);
    if (!root)
        throw LocalizedError(QStringLiteral("Impossible de résoudre le bookmark (dossier déplacé ?)."));
    const auto subPath = SubPath::parse(question.subPath);
    if (!subPath)
        throw LocalizedError(QStringLiteral("sub_path invalide."));
    access.emplace(question.bookmarks, root->url);
    const auto folder = subPath->below(root->url);
    if (!folder)
        throw LocalizedError(QStringLiteral("sub_path échappe du dossier partagé."));
    try {
        return {*folder, subPath->normalized(), sortedEntries(question, *folder)};
    } catch (const LocalizedError& error) {
        throw LocalizedError(QStringLiteral("Lecture du dossier impossible: ") + error.errorDescription());
    }
}

} // namespace vennic
