#include "linux/index/FileIndexSegments.h"

#include "base/MainQueue.h"

#include <QFile>

#include <system_error>

namespace vennic {

namespace {

constexpr qsizetype mostPatterns = 256;
constexpr qsizetype longestPattern = 4096;

std::vector<std::string> bytesOf(const QStringList& paths) {
    std::vector<std::string> result;
    for (const QString& path : paths)
        result.push_back(QFile::encodeName(path).toStdString());
    return result;
}

QString textOf(const std::string& bytes) { return QFile::decodeName(QByteArray::fromStdString(bytes)); }

class SegmentsQuery final : public IndexQuery {
public:
    SegmentsQuery(std::weak_ptr<index::QueryThread> queries, const FileTypes& types, index::SearchRequest request,
                  bool possible)
        : queries_(std::move(queries)), types_(types),
          gathering_(std::make_shared<index::Gathering>(std::move(request))), possible_(possible) {}
    ~SegmentsQuery() override { stop(); }

    bool start(std::function<void()> gathered) override {
        const auto queries = queries_.lock();
        if (!queries || !possible_ || started_)
            return false;
        started_ = true;
        // `gathering` stops on this thread, so that a stopped query never calls back.
        queries->submit(gathering_, [gathering = gathering_, gathered = std::move(gathered)] {
            postToMain([gathering, gathered] {
                if (!gathering->stopFlag())
                    gathered();
            });
        });
        return true;
    }
    void stop() override { gathering_->stop(); }
    void disableUpdates() override { still_ = gathering_->all(); }
    void enableUpdates() override { still_.reset(); }
    qint64 resultCount() const override { return static_cast<qint64>(still_ ? still_->size() : gathering_->count()); }
    IndexItem resultAt(qint64 position) const override {
        const auto at = static_cast<std::size_t>(position);
        const index::SearchHit hit = still_ ? still_->at(at) : gathering_->at(at);
        IndexItem item;
        item.path = textOf(hit.path);
        item.name = textOf(hit.entry.name);
        item.contentType = types_.typeForFile(*item.name, hit.entry.kind == index::EntryKind::folder);
        item.size = hit.entry.size;
        item.changedAt = QDateTime::fromMSecsSinceEpoch(hit.entry.modified / 1'000'000, Qt::UTC);
        return item;
    }

private:
    std::weak_ptr<index::QueryThread> queries_;
    const FileTypes& types_;
    std::shared_ptr<index::Gathering> gathering_;
    std::optional<std::vector<index::SearchHit>> still_;
    bool possible_;
    bool started_ = false;
};

QString problemOf(const index::IndexerStatus& status) {
    if (status.inUse)
        return QStringLiteral("L'index des fichiers est déjà utilisé par un autre programme.");
    if (status.fault == ENOSPC || status.fault == EDQUOT)
        return QStringLiteral("L'index des fichiers est arrêté : le disque est plein.");
    if (status.fault != 0)
        return QStringLiteral("L'index des fichiers ne peut pas être écrit (%1).")
            .arg(QString::fromStdString(std::generic_category().message(status.fault)));
    if (status.watchLimited)
        return QStringLiteral("Le système ne permet pas de surveiller tous les dossiers : les changements y sont "
                              "trouvés plus tard.");
    if (status.remote)
        return QStringLiteral("Des dossiers partagés se trouvent sur un volume distant : les changements y sont "
                              "trouvés plus tard.");
    return {};
}

} // namespace

FileIndexSegments::FileIndexSegments(const index::IndexerSettings& settings, index::TextSource& texts,
                                     index::TextSource& queryTexts, const FileTypes& types)
    : types_(types), indexer_(std::make_unique<index::Indexer>(settings, texts)),
      queries_(std::make_shared<index::QueryThread>(settings.directory, *indexer_, queryTexts)) {}

void FileIndexSegments::setFolders(const QStringList& folders) { indexer_->setFolders(bytesOf(folders)); }

std::unique_ptr<IndexQuery> FileIndexSegments::query(const IndexPredicate& predicate, const QStringList& scopes,
                                                     qint64 limit) {
    index::SearchRequest request;
    bool possible = predicate.patterns.size() <= mostPatterns;
    for (const QString& pattern : predicate.patterns) {
        possible = possible && pattern.size() <= longestPattern;
        request.patterns.push_back(pattern.toStdString());
    }
    request.groups = predicate.anyOf;
    request.scopes = bytesOf(scopes);
    request.limit = static_cast<std::size_t>(std::clamp<qint64>(limit, 0, mostHits));
    return std::make_unique<SegmentsQuery>(queries_, types_, std::move(request), possible);
}

IndexStatus FileIndexSegments::status() const {
    const index::IndexerStatus now = indexer_->status();
    IndexStatus status;
    status.files = now.files;
    status.pending = now.waiting;
    status.bytes = now.bytes;
    status.ready = now.ready;
    status.watchLimited = now.watchLimited;
    status.problem = problemOf(now);
    return status;
}

} // namespace vennic
