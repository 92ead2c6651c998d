#include "Bridge/ListDirHandler.h"

#include "Bridge/SharedFolderLevel.h"
#include "base/Dates.h"
#include "base/Pool.h"
#include "base/StopsAtEnd.h"

#include <QHash>

#include <algorithm>
#include <ranges>

namespace vennic {

namespace {

/// All that one listing is made from.
struct Order {
    SharedFolderQuestion question;
    std::shared_ptr<FileTypes> types;
    IdentifierSource identifiers;
    qint64 mostHandles = 0;
};

struct Listing {
    QByteArray body; // of the success; encoded here, since 100,000 entries take half a second of the main thread
    std::vector<std::pair<QString, FileURL>> handles;
};

struct Outcome {
    std::variant<Listing, QString> answer; // or the sentence that says why there is none
    std::optional<ScopedAccess> access;    // closed when the answer has been sent or given up
};

/// Makes one listing; lives on the pool.
class Lister {
public:
    explicit Lister(Order order) : order_(std::move(order)) {}

    Outcome run() {
        Outcome outcome;
        try {
            outcome.answer = listing(listSharedFolder(order_.question, outcome.access));
        } catch (const LocalizedError& error) {
            outcome.answer = error.errorDescription();
        }
        return outcome;
    }

private:
    Listing listing(SharedFolderLevel level) {
        BridgeListDirResult result;
        result.folder_id = order_.question.folderId;
        result.sub_path = level.subPath;
        result.items = items(std::move(level.entries), level.subPath);
        auto given = handles(result.items, level.folder);
        return {encodeBridgeSuccessBody(std::move(result)), std::move(given)};
    }

    std::vector<BridgeListDirResult::Item> items(std::vector<FolderEntry> entries, const QString& subPath) {
        std::vector<BridgeListDirResult::Item> items;
        items.reserve(entries.size());
        const QString prefix = subPath.isEmpty() ? QString() : subPath + u'/';
        for (FolderEntry& entry : entries) {
            if (order_.question.stop.stop_requested())
                break;
            items.push_back(item(std::move(entry), prefix));
        }
        return items;
    }

    BridgeListDirResult::Item item(FolderEntry entry, const QString& prefix) {
        const FileValues values = entry.values.value_or(FileValues{});
        QString mime = values.isDirectory ? QStringLiteral("inode/directory") : mimeOf(entry.name);
        QString below = prefix.isEmpty() ? entry.name : prefix + entry.name;
        return {.id = order_.identifiers(),
                .name = std::move(entry.name),
                .type = values.isDirectory ? QStringLiteral("folder") : QStringLiteral("file"),
                .mime = std::move(mime),
                .size = values.size.value_or(0),
                .modified_at = values.changedAt ? std::optional(iso8601(*values.changedAt)) : std::nullopt,
                .sub_path = std::move(below)};
    }

    /// The last ones, since the cache would forget any others again before anybody could name them.
    std::vector<std::pair<QString, FileURL>> handles(const std::vector<BridgeListDirResult::Item>& items,
                                                     const FileURL& folder) const {
        const auto count = static_cast<qint64>(items.size());
        std::vector<std::pair<QString, FileURL>> handles;
        for (const auto& item : items | std::views::drop(std::max<qint64>(0, count - order_.mostHandles)))
            handles.emplace_back(item.id, folder.appendingPathComponent(item.name));
        return handles;
    }

    QString mimeOf(const QString& name) {
        const QString extension = FileURL{name}.pathExtension().toLower();
        const auto known = mimes_.constFind(extension);
        if (known != mimes_.constEnd())
            return *known;
        const auto mime = order_.types->mimeTypeForExtension(extension);
        return *mimes_.insert(extension, mime.value_or(QStringLiteral("application/octet-stream")));
    }

    Order order_;
    QHash<QString, QString> mimes_; // of the extensions met so far
};

} // namespace

ListDirHandler::ListDirHandler(BookmarkPersistence grants, std::shared_ptr<FolderBookmarks> bookmarks,
                               std::shared_ptr<FileSystem> files, std::shared_ptr<FileTypes> types,
                               BridgeIDCache& idCache, const TaskAnswer& answer, IdentifierSource identifiers)
    : grants_(grants), bookmarks_(std::move(bookmarks)), files_(std::move(files)), types_(std::move(types)),
      idCache_(idCache), answer_(answer), identifiers_(std::move(identifiers)) {}

Task<> ListDirHandler::handleListDir(BridgeTask task, ListDirArgs args, APIService api) {
    const StopsAtEnd end;
    Order order{.question = {.bookmarks = bookmarks_,
                             .files = files_,
                             .grants = grants_.load(),
                             .folderId = args.folderId,
                             .subPath = args.subPath.value_or(QString()),
                             .stop = end.source.get_token()},
                .types = types_,
                .identifiers = identifiers_,
                .mostHandles = idCache_.capacity()};
    auto work = [](Order order) { return Lister(std::move(order)).run(); };
    Outcome outcome = co_await onPoolWaiting(work, std::move(order));
    if (const auto* failure = std::get_if<QString>(&outcome.answer)) {
        co_await TaskAnswer::error(std::move(api), task.id, *failure);
        co_return;
    }
    auto& listing = std::get<Listing>(outcome.answer);
    for (const auto& [id, url] : listing.handles)
        idCache_.put(id, url);
    co_await answer_.encodedSuccess(std::move(api), task.id, std::move(listing.body));
}

} // namespace vennic
