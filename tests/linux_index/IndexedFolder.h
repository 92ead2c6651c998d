#pragma once
#include "linux/index/FileIndexSegments.h"
#include "linux_index/FileIndexContract.h"
#include "linux_index/PlainTextSource.h"

#include <QTemporaryDir>

#include <string_view>

namespace vennic::index::test {

/// Names types by extension alone.
class ExtensionTypes final : public FileTypes {
public:
    std::optional<QString> typeForExtension(const QString& extension) const override { return extension; }
    bool conforms(const QString& type, const QString& ancestor) const override { return type == ancestor; }
    std::optional<QString> mimeTypeForExtension(const QString&) const override { return std::nullopt; }
    QString typeForFile(const QString& name, bool isDirectory) const override;
};

/// A temporary folder with documents and an index of it.
class IndexedFolder final : public vennic::test::FileIndexWorld {
public:
    IndexedFolder();
    ~IndexedFolder() override;

    FileIndex& index() override { return *index_; }
    QString folder() const override { return QString::fromStdString(path()); }
    void write(const QString& relativePath, const QString& text, qint64 changedAt) override;
    void settle() override;

    /// The shared folder, and the folder of the index.
    std::string path() const { return base_.path().toStdString() + "/partage"; }
    std::string store() const { return base_.path().toStdString() + "/cache/index"; }
    std::string base() const { return base_.path().toStdString(); }
    /// Writes bytes under a relative path of bytes, folders included.
    void put(const std::string& relativePath, std::string_view bytes) const;
    void share() { index_->setFolders({folder()}); }
    /// From the next `reopen` on texts are found by the index or not at all, never by a look at the disk in its place.
    void findTextsByTheIndexAlone() {
        noTexts_.dead = true;
        queryTexts = &noTexts_;
    }
    /// Ends the index and begins it again.
    void reopen();
    void close() { index_.reset(); }
    /// The relative paths that `words` find in the whole folder.
    QStringList find(const QString& word, qint64 limit = 100);
    /// Repeats a search until it gives that, in any order.
    bool finds(const QString& word, QStringList expected);

    PlainTextSource texts;
    TextSource* queryTexts = &texts; // those of queries, from the next `reopen` on
    ExtensionTypes types;
    IndexerSettings settings;

private:
    QTemporaryDir base_;
    PlainTextSource noTexts_;
    std::unique_ptr<FileIndexSegments> index_;
};

} // namespace vennic::index::test
