#pragma once
#include "base/LocalizedError.h"
#include "ports/FileSystem.h"

#include <QDir>

#include <algorithm>
#include <atomic>
#include <functional>
#include <map>
#include <set>

namespace vennic::test {

/// A tree of entries in memory; walked in the order of the paths.
class FileSystemFake final : public FileSystem {
public:
    std::optional<FileValues> values(const QString& path) override {
        if (beforeValues)
            beforeValues();
        const auto entry = entries.find(path);
        if (entry == entries.end() || unreadable.contains(path))
            return std::nullopt;
        return entry->second;
    }
    std::unique_ptr<FolderWalk> walk(const QString& root) override {
        if (unreadable.contains(root))
            return nullptr;
        return std::make_unique<Walk>(*this, root + u'/');
    }
    std::unique_ptr<FolderListing> list(const QString& spelled) override {
        const QString path = QDir::cleanPath(spelled); // there are no links here
        const auto folder = entries.find(path);
        if (folder == entries.end() || !folder->second.isDirectory)
            throw LocalizedError(QStringLiteral("Ce dossier n'existe pas."));
        if (unreadable.contains(path))
            throw LocalizedError(QStringLiteral("Le disque a signalé une erreur."));
        return std::make_unique<Listing>(*this, path.endsWith(u'/') ? path : path + u'/');
    }
    QString homeDirectory() override { return home; }

    void addFolder(const QString& path) {
        entries[path] = {.isDirectory = true, .size = {}, .changedAt = {}, .volumeIsLocal = true};
    }
    void addFile(const QString& path, std::optional<qint64> size = 0, const std::optional<QDateTime>& changedAt = {}) {
        entries[path] = {.isDirectory = false, .size = size, .changedAt = changedAt, .volumeIsLocal = true};
    }

    std::map<QString, FileValues> entries;
    std::set<QString> unreadable; // values and walks of these fail; their entry is met all the same
    QString home = QStringLiteral("/home/marie");
    bool walksGiveHidden = false;
    bool listsBackwards = false;        // the order of a folder on a disk is any
    std::function<void()> beforeNext;   // called by listings, on the thread that lists; may raise
    std::function<void()> beforeValues; // called on the thread that asks
    std::atomic<qint64> walked = 0;     // entries that walks have given

private:
    class Walk final : public FolderWalk {
    public:
        Walk(FileSystemFake& files, QString prefix)
            : files_(files), prefix_(std::move(prefix)), at_(files.entries.lower_bound(prefix_)) {}
        std::optional<QString> next() override {
            for (; at_ != files_.entries.end() && at_->first.startsWith(prefix_); ++at_) {
                const QString below = at_->first.sliced(prefix_.size() - 1);
                if (!files_.walksGiveHidden && below.contains(QStringLiteral("/.")))
                    continue;
                ++files_.walked;
                return (at_++)->first;
            }
            return std::nullopt;
        }

    private:
        FileSystemFake& files_;
        QString prefix_;
        std::map<QString, FileValues>::const_iterator at_;
    };

    class Listing final : public FolderListing {
    public:
        Listing(FileSystemFake& files, const QString& prefix) : files_(files) {
            for (auto at = files.entries.lower_bound(prefix); at != files.entries.end() && at->first.startsWith(prefix);
                 ++at) {
                const QString name = at->first.sliced(prefix.size());
                if (!name.isEmpty() && !name.startsWith(u'.') && !name.contains(u'/'))
                    paths_.append(at->first);
            }
            if (files.listsBackwards)
                std::ranges::reverse(paths_);
        }
        std::optional<FolderEntry> next() override {
            if (files_.beforeNext)
                files_.beforeNext();
            if (paths_.isEmpty())
                return std::nullopt;
            const QString path = paths_.takeFirst();
            FolderEntry entry{path.section(u'/', -1), files_.values(path)};
            if (entry.values)
                entry.values->volumeIsLocal.reset();
            return entry;
        }

    private:
        FileSystemFake& files_;
        QStringList paths_;
    };
};

} // namespace vennic::test
