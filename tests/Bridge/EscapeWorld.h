#pragma once
#include "Bridge/BridgeWorld.h"

#include <QTemporaryDir>

namespace vennic::test {

/// A bridge over a real disk on which everything is laid out that leads somewhere else: a shared folder "grant" beside
/// folders and files whose names begin alike, and a folder "outside" with a secret.
///
/// Every file that counts as shared holds "shared", every other one "secret". They are named as documents that each
/// kind takes; what reads them opens them as the program does, and what shows them writes down what it was given.
class EscapeWorld {
public:
    EscapeWorld();
    ~EscapeWorld();
    EscapeWorld(const EscapeWorld&) = delete;
    EscapeWorld& operator=(const EscapeWorld&) = delete;

    /// A path below the folder that holds all of it; `below` is UTF-8.
    QString at(const char* below) const { return disk_.path() + u'/' + QString::fromUtf8(below); }
    QString root() const { return disk_.path(); }
    /// Puts `path` behind a handle.
    QString handleOf(const QString& path);
    /// What the bridge answers to a task.
    QJsonObject answer(const char* kind, const QJsonObject& args);

    std::optional<QString> movedTo; // where a search for a shared folder finds it
    BridgeWorld world;
    std::shared_ptr<FolderBookmarks> bookmarks;
    std::shared_ptr<FileSystem> files;
    BookmarkStore grants;
    BookmarkEntry grant;
    std::unique_ptr<BridgeService> service;

private:
    void layOutFiles();
    void layOutLinks();
    void layOutWhatIsNoFile();

    QTemporaryDir disk_;
    int handles_ = 0;
    int asked_ = 0;
};

/// The description of a place for a message: its characters made visible, and not too many of them.
std::string shownPath(const QString& path);

} // namespace vennic::test
