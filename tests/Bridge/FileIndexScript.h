#pragma once
#include "ports/FileIndex.h"

#include <QObject>

#include <deque>

namespace vennic::test {

/// An index that gives prepared answers, in order, and remembers what it was asked. Without a prepared answer a query
/// gathers nothing and ends.
class FileIndexScript final : public FileIndex {
public:
    struct Question {
        IndexPredicate predicate;
        QStringList scopes;
        qint64 limit = 0;
        bool operator==(const Question&) const = default;
    };
    struct Answer {
        std::vector<IndexItem> items;
        bool starts = true; // whether the query can be started
        bool ends = true;   // whether gathering ends by itself
    };

    void setFolders(const QStringList& all) override { folders = all; }
    std::unique_ptr<IndexQuery> query(const IndexPredicate& predicate, const QStringList& scopes,
                                      qint64 limit) override {
        questions.push_back({predicate, scopes, limit});
        Answer answer;
        if (!answers.empty()) {
            answer = std::move(answers.front());
            answers.pop_front();
        }
        return std::make_unique<Query>(*this, std::move(answer));
    }
    IndexStatus status() const override { return current; }

    std::deque<Answer> answers;
    std::vector<Question> questions;
    QStringList folders;
    IndexStatus current;
    int live = 0;    // queries that exist
    QStringList log; // start, stop, disableUpdates, enableUpdates and each read, in order

private:
    class Query final : public IndexQuery {
    public:
        Query(FileIndexScript& index, Answer answer) : index_(index), answer_(std::move(answer)) { ++index_.live; }
        Query(const Query&) = delete;
        Query& operator=(const Query&) = delete;
        ~Query() override { --index_.live; }
        bool start(std::function<void()> gathered) override {
            index_.log.append(QStringLiteral("start"));
            if (answer_.starts && answer_.ends)
                QMetaObject::invokeMethod(&context_, std::move(gathered), Qt::QueuedConnection);
            return answer_.starts;
        }
        void stop() override { index_.log.append(QStringLiteral("stop")); }
        void disableUpdates() override { index_.log.append(QStringLiteral("disableUpdates")); }
        void enableUpdates() override { index_.log.append(QStringLiteral("enableUpdates")); }
        qint64 resultCount() const override { return static_cast<qint64>(answer_.items.size()); }
        IndexItem resultAt(qint64 position) const override {
            index_.log.append(QStringLiteral("read"));
            return answer_.items.at(static_cast<std::size_t>(position));
        }

    private:
        FileIndexScript& index_;
        Answer answer_;
        QObject context_;
    };
};

} // namespace vennic::test
