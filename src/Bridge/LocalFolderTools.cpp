#include "Bridge/LocalFolderTools.h"

#include "Bridge/LocalToolText.h"
#include "Bridge/ResolvedShare.h"
#include "Bridge/SharedFolderLevel.h"
#include "base/LocalizedError.h"
#include "base/Pool.h"
#include "base/StopsAtEnd.h"

namespace vennic {

namespace {

struct Browsed {
    QString text;
    std::vector<std::pair<QString, FileURL>> handles;
};

QString entryLine(qsizetype number, const FolderEntry& entry, const QString& id) {
    const FileValues values = entry.values.value_or(FileValues{});
    const QString what = values.isDirectory ? QStringLiteral(". 📁 ") + entry.name
                                            : QStringLiteral(". 📄 ") + entry.name + QStringLiteral(" (") +
                                                  kilobytes(values.size.value_or(0)) + QStringLiteral(" KB)");
    return QString::number(number) + what + QStringLiteral(" (id: ") + id + u')';
}

/// Runs on the pool, the writing too: a folder may hold 100,000 entries.
Browsed browse(const SharedFolderQuestion& question, const IdentifierSource& identifiers, qint64 mostHandles) {
    std::optional<ScopedAccess> access;
    const SharedFolderLevel level = listSharedFolder(question, access);
    const auto count = static_cast<qint64>(level.entries.size());
    if (count == 0)
        return {QStringLiteral("Empty folder."), {}};
    Browsed browsed;
    for (qint64 i = 0; i < count && !question.stop.stop_requested(); ++i) {
        const FolderEntry& entry = level.entries[static_cast<std::size_t>(i)];
        const QString id = identifiers();
        if (i > 0)
            browsed.text += u'\n';
        browsed.text += entryLine(i + 1, entry, id);
        // The cache would forget the ones before again, before anybody could name them.
        if (i >= count - mostHandles)
            browsed.handles.emplace_back(id, level.folder.appendingPathComponent(entry.name));
    }
    return browsed;
}

} // namespace

LocalFolderTools::LocalFolderTools(BookmarkPersistence grants, std::shared_ptr<FolderBookmarks> bookmarks,
                                   std::shared_ptr<FileSystem> files, BridgeIDCache& idCache,
                                   IdentifierSource identifiers)
    : grants_(grants), bookmarks_(std::move(bookmarks)), files_(std::move(files)), idCache_(idCache),
      identifiers_(std::move(identifiers)) {}

Task<QString> LocalFolderTools::listLocalFolders() const {
    const std::vector<ResolvedShare> shares = co_await resolvedShares(bookmarks_, grants_.load());
    if (shares.empty())
        co_return noFoldersGranted();
    QStringList lines;
    qsizetype number = 0;
    for (const ResolvedShare& share : shares) {
        ++number; // one that is nowhere to be found keeps its number
        if (share.folder)
            lines.append(QString::number(number) + QStringLiteral(". ") + share.grant.displayName +
                         QStringLiteral(" (") + displayPath(share.folder->path, files_->homeDirectory()) +
                         QStringLiteral(", id: ") + uuidString(share.grant.id) + u')');
    }
    co_return lines.join(u'\n');
}

Task<QString> LocalFolderTools::browseLocalFolder(LocalToolArguments arguments) {
    const StopsAtEnd end;
    SharedFolderQuestion question{.bookmarks = bookmarks_,
                                  .files = files_,
                                  .grants = grants_.load(),
                                  .folderId = arguments.text(QLatin1String("folder_id")).value_or(QString()),
                                  .subPath = arguments.text(QLatin1String("sub_path")).value_or(QString()),
                                  .stop = end.source.get_token()};
    try {
        const Browsed browsed = co_await onPoolWaiting(browse, std::move(question), identifiers_, idCache_.capacity());
        for (const auto& [id, url] : browsed.handles)
            idCache_.put(id, url);
        co_return browsed.text;
    } catch (const LocalizedError& error) {
        co_return error.errorDescription();
    }
}

} // namespace vennic
