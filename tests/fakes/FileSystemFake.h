#pragma once
#include "ports/FileSystem.h"

#include <atomic>
#include <map>
#include <set>

namespace vennic::test {

/// A tree of entries in memory; walked in the order of the paths.
class FileSystemFake final : public FileSystem {
public:
    std::optional<FileValues> values(const QString& path) override {
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
    std::atomic<qint64> walked = 0; // entries that walks have given

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
};

} // namespace vennic::test
