#include "fakes/FileIndexFake.h"

#include "base/MainQueue.h"
#include "base/TextFolding.h"

#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>
#include <map>

namespace vennic::test {

namespace {

QRegularExpression expressionOf(const QString& pattern) {
    QString expression;
    for (qsizetype i = 0; i < pattern.size(); ++i) {
        QChar c = pattern[i];
        if (c == u'*' || c == u'?') {
            expression += c == u'*' ? QStringLiteral(".*") : QStringLiteral(".");
            continue;
        }
        if (c == u'\\' && i + 1 < pattern.size())
            c = pattern[++i];
        expression += QRegularExpression::escape(caseFolded(QString(c)));
    }
    return QRegularExpression(QRegularExpression::anchoredPattern(expression),
                              QRegularExpression::DotMatchesEverythingOption);
}

bool lies(const QString& path, const QString& folder) { return path.startsWith(folder + u'/'); }

class FakeQuery final : public IndexQuery {
public:
    FakeQuery(std::vector<IndexItem> found, bool refuse, bool neverEnd)
        : found_(std::move(found)), refuse_(refuse), neverEnd_(neverEnd) {}
    ~FakeQuery() override { *stopped_ = true; }
    bool start(std::function<void()> gathered) override {
        if (refuse_)
            return false;
        items_ = found_;
        if (!neverEnd_) {
            postToMain([stopped = stopped_, gathered = std::move(gathered)] {
                if (!*stopped)
                    gathered();
            });
        }
        return true;
    }
    void stop() override { *stopped_ = true; }
    void disableUpdates() override {}
    void enableUpdates() override {}
    qint64 resultCount() const override { return static_cast<qint64>(items_.size()); }
    IndexItem resultAt(qint64 position) const override { return items_.at(static_cast<std::size_t>(position)); }

private:
    std::vector<IndexItem> found_, items_;
    std::shared_ptr<bool> stopped_ = std::make_shared<bool>(false);
    bool refuse_, neverEnd_;
};

} // namespace

std::unique_ptr<IndexQuery> FileIndexFake::query(const IndexPredicate& predicate, const QStringList& scopes,
                                                 qint64 limit) {
    asked.push_back({predicate, scopes, limit});
    std::multimap<qint64, IndexItem> newestFirst;
    for (const File& file : files) {
        const auto below = [&](const QString& folder) { return lies(file.path, folder); };
        const QString name = QFileInfo(file.path).fileName();
        const bool hidden = file.path.contains(QStringLiteral("/."));
        if (hidden || !std::any_of(scopes.begin(), scopes.end(), below) ||
            !std::any_of(folders.begin(), folders.end(), below))
            continue;
        const auto matches = [&](int at) {
            const QRegularExpression expression = expressionOf(predicate.patterns[at]);
            return expression.match(caseFolded(name)).hasMatch() || expression.match(caseFolded(file.text)).hasMatch();
        };
        const auto all = [&](const std::vector<int>& group) {
            return std::all_of(group.begin(), group.end(), matches);
        };
        if (std::any_of(predicate.anyOf.begin(), predicate.anyOf.end(), all))
            newestFirst.emplace(-file.changedAt.toMSecsSinceEpoch(),
                                IndexItem{file.path, name, file.contentType, file.size, file.changedAt});
    }
    std::vector<IndexItem> found;
    for (auto& [order, item] : newestFirst)
        found.push_back(std::move(item));
    found.resize(std::min<std::size_t>(found.size(), static_cast<std::size_t>(std::max<qint64>(limit, 0))));
    return std::make_unique<FakeQuery>(std::move(found), refuseToStart, neverEnd);
}

} // namespace vennic::test
