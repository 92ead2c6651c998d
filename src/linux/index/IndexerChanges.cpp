// What reaches the indexer from outside: the user's folders and what happens on disk.
#include "linux/index/IndexerWork.h"

#include <algorithm>
#include <set>
#include <sys/eventfd.h>

namespace vennic::index {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds longestRefresh{100}; // of unwatched folders, before a search
constexpr milliseconds longestSettling{200};
constexpr std::size_t wholeFolder = 8; // so many changes in one folder are cheaper as one look at all of it
constexpr std::size_t mostMoves = 256;

/// The folders of the user that aren't met by walking another one of them.
std::vector<std::string> outermost(const std::vector<std::string>& folders) {
    std::set<std::string> canonical;
    for (const std::string& folder : folders) {
        if (folder.starts_with('/'))
            canonical.insert(canonicalPath(folder));
    }
    std::vector<std::string> result;
    for (const std::string& folder : canonical) {
        const bool within = std::ranges::any_of(canonical, [&](const std::string& other) {
            const auto below = other == folder ? std::nullopt : pathBelow(folder, other);
            return below && !leadsThroughHidden(*below);
        });
        if (!within)
            result.push_back(folder);
    }
    return result;
}

} // namespace

void Indexer::takeCommands() {
    eventfd_t ignored = 0;
    eventfd_read(wake_.number(), &ignored);
    std::vector<std::string> folders;
    bool set = false;
    bool refresh = false;
    {
        const std::lock_guard lock(mutex_);
        set = std::exchange(foldersSet_, false);
        if (set)
            folders = folders_;
        refresh = refreshAsked_;
    }
    if (set)
        applyFolders(folders);
    if (refresh) {
        takeChanges();
        lookAtUnwatched(steady_clock::now() + longestRefresh);
        commit();
        {
            const std::lock_guard lock(mutex_);
            refreshAsked_ = false;
        }
        refreshed_.notify_all();
    }
}

void Indexer::applyFolders(const std::vector<std::string>& folders) {
    Work& work = *work_;
    Catalogue& catalogue = work.store.catalogue();
    const std::vector<std::string> wanted = outermost(folders);
    work.reconciler.adoptable.clear();
    work.store.begin();
    for (const FolderRow& root : catalogue.children(0)) {
        if (std::ranges::find(wanted, root.name) != wanted.end())
            continue;
        bool kept = false;
        for (const std::string& folder : wanted) {
            const auto below = pathBelow(root.name, folder);
            if (below && !leadsThroughHidden(*below)) {
                work.reconciler.adoptable[root.name] = root.id; // a wider folder was granted: its walk takes it over
                kept = true;
            }
        }
        if (kept)
            continue;
        for (const std::string& folder : wanted) { // a part of it stays: it becomes a root of its own
            const auto below = pathBelow(folder, root.name);
            std::uint32_t at = root.id;
            std::uint32_t parent = 0;
            std::string name;
            for (std::size_t from = 0; below && from < below->size() && at; from = from + name.size() + 1) {
                name = below->substr(from, below->find('/', from) - from);
                parent = at;
                at = catalogue.child(at, name).value_or(0);
            }
            if (!below || !at || catalogue.child(0, folder))
                continue;
            catalogue.moveFolder(at, 0, folder);
            if (const auto entry = catalogue.entry(parent, name))
                work.store.remove(*entry);
        }
        work.reconciler.forget(work.store.withdraw(root.id));
        work.dirty.clear(); // what was dirty elsewhere is found by the walk below
    }
    work.roots.clear();
    for (const std::string& folder : wanted) {
        auto root = catalogue.child(0, folder);
        if (!root) {
            work.store.begin();
            root = catalogue.addFolder(0, folder);
        }
        work.roots.push_back(*root);
    }
    commit();
    work.walk.clear(); // it may hold folders that are gone
    work.fullWalkRunning = false;
    work.fullWalkDue = !wanted.empty();
    work.walkedOnce = wanted.empty();
}

void Indexer::takeChanges() {
    for (const Change& change : work_->watches.read())
        takeChange(change);
}

void Indexer::takeChange(const Change& change) {
    Work& work = *work_;
    const auto now = steady_clock::now();
    if (change.kind == Change::Kind::overflow) {
        work.fullWalkDue = true;
        return;
    }
    if (change.kind == Change::Kind::self) {
        const auto row = work.store.catalogue().folder(change.folder);
        if (row && row->parent == 0) { // a root: nobody above it tells
            work.watches.remove(change.folder);
            work.walk.push(change.folder, FolderWalk::Depth::all);
        }
        return;
    }
    if (isHidden(change.name) && change.kind != Change::Kind::movedTo)
        return;
    if (change.isFolder && change.kind == Change::Kind::movedFrom) {
        if (work.moves.size() >= mostMoves)
            work.moves.clear();
        work.moves[change.cookie] = {change.folder, change.name};
    } else if (change.isFolder && change.kind == Change::Kind::movedTo) {
        const auto from = work.moves.find(change.cookie);
        const bool known = from != work.moves.end();
        const bool moved =
            known && work.reconciler.moveFolder(from->second.first, from->second.second, change.folder, change.name);
        if (known)
            work.moves.erase(from);
        if (!moved) { // from outside: what was known under this name is another folder
            if (const auto child = work.store.catalogue().child(change.folder, change.name))
                work.reconciler.forget(work.store.removeTree(*child));
        }
        work.urgent = true;
    } else if (change.isFolder && change.isOther) {
        dropWatch({change.folder, change.name});
    }
    if (!isHidden(change.name))
        work.dirty.touch(change.folder, change.name, now);
}

void Indexer::dropWatch(const DirtySet::Key& entry) {
    if (const auto child = work_->store.catalogue().child(entry.first, entry.second))
        work_->watches.remove(*child); // the look at its name puts one on the folder that has the name now
}

void Indexer::settleDirty() {
    Work& work = *work_;
    if (work.dirty.empty())
        return;
    const auto now = steady_clock::now();
    std::map<std::uint32_t, std::vector<DirtySet::Key>> byFolder;
    for (DirtySet::Key& key : work.dirty.takeNames(now)) {
        if (std::erase_if(work.moves, [&](const auto& move) { return move.second == key; }) > 0)
            dropWatch(key); // it has gone to where nobody saw it arrive
        byFolder[key.first].push_back(std::move(key));
    }
    std::vector<std::uint32_t> touched;
    for (const auto& [folder, keys] : byFolder) {
        touched.push_back(folder);
        if (keys.size() >= wholeFolder) {
            const FileDescriptor open = openFolder(work.store.catalogue().components(folder));
            if (open.isOpen()) {
                for (const auto& subfolder : work.reconciler.syncFolder(folder, open.number())) {
                    if (subfolder.fresh)
                        work.walk.push(subfolder.row.id, FolderWalk::Depth::all);
                }
                continue; // texts follow one by one as they settle
            }
        }
        for (const DirtySet::Key& key : keys) {
            const Reconciler::Look look = work.reconciler.syncEntry(folder, key.second);
            if (look.toWalk)
                work.walk.push(*look.toWalk, FolderWalk::Depth::all);
            if (!look.textDue)
                work.dirty.drop(key);
        }
    }
    refreshFolderEntries(touched);
    const auto end = now + longestSettling;
    while (steady_clock::now() < end && !work.store.full()) {
        const auto key = work.dirty.takeText(now);
        if (!key)
            break;
        // While the reader pauses the text stays waiting in the catalogue; here it would keep this thread awake.
        if (work.reconciler.readerAnswers())
            work.reconciler.readText(key->first, key->second);
    }
    work.urgent = work.urgent || work.store.changing();
}

void Indexer::refreshFolderEntries(const std::vector<std::uint32_t>& folders) {
    for (const std::uint32_t folder : folders) {
        const auto row = work_->store.catalogue().folder(folder);
        if (row && row->parent != 0)
            work_->reconciler.syncEntry(row->parent, row->name);
    }
}

void Indexer::lookAtUnwatched(Moment end) {
    Work& work = *work_;
    std::vector<std::pair<std::uint32_t, std::int64_t>> folders(work.reconciler.unwatched().begin(),
                                                                work.reconciler.unwatched().end());
    std::ranges::sort(folders);
    for (std::size_t i = 0; i < folders.size() && steady_clock::now() < end; ++i) {
        const auto& [folder, seen] = folders[work.unwatchedCursor++ % folders.size()];
        const FileDescriptor open = openFolder(work.store.catalogue().components(folder));
        const auto status = open.isOpen() ? statOf(open.number()) : std::nullopt;
        if (!status || status->modified == seen)
            continue;
        for (const auto& subfolder : work.reconciler.syncFolder(folder, open.number())) {
            if (subfolder.fresh)
                work.walk.push(subfolder.row.id, FolderWalk::Depth::all);
        }
    }
    if (work.walk.active() && !work.fullWalkRunning)
        work.walk.step(end);
}

} // namespace vennic::index
