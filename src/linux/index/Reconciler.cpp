#include "linux/index/Reconciler.h"

#include "linux/index/WallTime.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>

namespace vennic::index {

namespace {

/// A document is given up, until it changes, when its reader has crashed on it so often...
constexpr int mostCrashes = 4;
/// ...or was ended from outside while it read it. By then a day has passed: whoever ends readers by chance doesn't meet
/// the same document each time, and one that gets them killed (for their memory, say) isn't tried for ever.
constexpr int mostInterruptions = 10;
constexpr std::chrono::milliseconds longestPause = std::chrono::minutes{5};

} // namespace

Reconciler::Reconciler(IndexStore& store, Watches& watches, TextSource& texts, ReconcilerSettings settings)
    : store_(store), watches_(watches), texts_(texts), settings_(std::move(settings)) {}

void Reconciler::watch(std::uint32_t folder, int open) {
    const bool limited = !watches_.add(folder, open);
    const bool remote = settings_.volumeOf(open) == Volume::remote;
    watchLimited_ = watchLimited_ || limited;
    remote_ = remote_ || remote;
    if (limited || remote) {
        const auto status = statOf(open);
        unwatched_[folder] = status ? status->modified : 0;
    } else {
        unwatched_.erase(folder);
    }
}

TextState Reconciler::expectedText(const Entry& entry) const {
    const bool readable = entry.kind == EntryKind::file && entry.size > 0 && entry.size <= largestTextFile &&
                          texts_.formOf(entry.name) != TextSource::Form::none;
    return readable ? TextState::waiting : TextState::none;
}

void Reconciler::addNew(Entry found) {
    found.text = expectedText(found);
    store_.add(found);
}

void Reconciler::applyChange(Entry known, Entry found) {
    found.text = expectedText(found);
    if (found.text == TextState::waiting && known.text == TextState::waiting && known.retryAt == 0)
        return;
    if (found.text == TextState::waiting && known.text == TextState::indexed) {
        store_.setText(known, TextState::waiting); // its former words answer until the new ones are read
        return;
    }
    removeEntry(known);
    store_.add(found);
}

void Reconciler::removeEntry(const Entry& known) {
    store_.remove(known);
    if (known.kind != EntryKind::folder)
        return;
    if (const auto child = store_.catalogue().child(known.folder, known.name))
        forget(store_.removeTree(*child));
}

void Reconciler::forget(const std::vector<std::uint32_t>& folders) {
    for (const std::uint32_t folder : folders) {
        watches_.remove(folder);
        unwatched_.erase(folder);
    }
}

std::uint32_t Reconciler::addSubfolder(std::uint32_t parent, const std::string& name) {
    store_.begin();
    if (!adoptable.empty()) {
        std::string path;
        for (const std::string& component : store_.catalogue().components(parent))
            path += (path.empty() || path == "/" ? "" : "/") + component;
        const auto found = adoptable.find(path + '/' + name);
        if (found != adoptable.end()) {
            const std::uint32_t folder = found->second;
            adoptable.erase(found);
            store_.catalogue().moveFolder(folder, parent, name);
            return folder;
        }
    }
    return store_.catalogue().addFolder(parent, name);
}

std::vector<Reconciler::Subfolder> Reconciler::syncFolder(std::uint32_t folder, int open) {
    watch(folder, open); // before the listing, so that nothing slips between the two
    std::vector<Subfolder> subfolders;
    auto listed = listFolder(open);
    if (!listed) {
        incomplete_ = true;
        return subfolders;
    }
    std::unordered_map<std::string, Entry> known;
    for (Entry& entry : store_.catalogue().entries(folder))
        known.emplace(entry.name, std::move(entry));
    std::unordered_map<std::string, std::uint32_t> children;
    for (FolderRow& row : store_.catalogue().children(folder))
        children.emplace(std::move(row.name), row.id);
    for (Entry& found : listed->entries) {
        found.folder = folder;
        const bool isFolder = found.kind == EntryKind::folder;
        const std::string name = found.name;
        const auto row = known.find(name);
        if (row == known.end()) {
            addNew(std::move(found));
        } else {
            // A folder's entry changes with each of its files, its content has its own look.
            if (isFolder && row->second.kind == EntryKind::folder && !row->second.sameOnDisk(found)) {
                store_.remove(row->second);
                store_.add(found);
            } else if (!row->second.sameOnDisk(found)) {
                applyChange(std::move(row->second), std::move(found));
            }
            known.erase(row);
        }
        if (!isFolder)
            continue;
        const auto child = children.find(name);
        const bool fresh = child == children.end();
        const std::uint32_t id = fresh ? addSubfolder(folder, name) : child->second;
        subfolders.push_back({{id, folder, name}, fresh});
        if (!fresh)
            children.erase(child);
    }
    for (const std::string& name : listed->unseen) {
        incomplete_ = true;
        known.erase(name);
        children.erase(name);
    }
    for (const auto& [name, row] : known)
        store_.remove(row);
    for (const auto& [name, child] : children)
        forget(store_.removeTree(child));
    return subfolders;
}

void Reconciler::empty(std::uint32_t folder) {
    for (const Entry& entry : store_.catalogue().entries(folder))
        removeEntry(entry);
}

Reconciler::Look Reconciler::syncEntry(std::uint32_t folder, const std::string& name) {
    const auto components = store_.catalogue().components(folder);
    if (isHidden(name) || components.empty())
        return {};
    const FileDescriptor open = openFolder(components);
    auto found = open.isOpen() ? statAt(open.number(), name) : std::nullopt;
    const int error = errno;
    const auto known = store_.catalogue().entry(folder, name);
    Look look;
    if (!found) {
        if (!tellsOfAbsence(error))
            incomplete_ = true;
        else if (known)
            removeEntry(*known);
        return look;
    }
    found->folder = folder;
    const EntryKind kind = found->kind;
    if (!known) {
        addNew(*found);
    } else if (!known->sameOnDisk(*found)) {
        if (kind == EntryKind::folder && known->kind == EntryKind::folder) {
            store_.remove(*known);
            store_.add(*found);
        } else {
            applyChange(*known, *found);
        }
    }
    if (kind == EntryKind::folder) {
        const auto child = store_.catalogue().child(folder, name);
        const std::uint32_t id = child ? *child : addSubfolder(folder, name);
        if (!child || (!watches_.has(id) && !unwatched_.contains(id)))
            look.toWalk = id;
        return look;
    }
    const auto row = store_.catalogue().entry(folder, name);
    look.textDue = row && row->text == TextState::waiting;
    return look;
}

std::chrono::milliseconds Reconciler::tickOf(const Entry& entry) const {
    return entry.changed % 1'000'000'000 == 0 ? settings_.coarseTick : settings_.tick;
}

void Reconciler::readText(std::uint32_t folder, const std::string& name) {
    const auto known = store_.catalogue().entry(folder, name);
    if (known && known->text == TextState::waiting && known->retryAt <= wallTime())
        readText(*known);
}

void Reconciler::readText(const Entry& known) {
    const FileDescriptor folder = openFolder(store_.catalogue().components(known.folder));
    const FileDescriptor file = folder.isOpen() ? openFileAt(folder.number(), known.name) : FileDescriptor();
    if (!file.isOpen()) {
        notOpened(known, folder.number(), errno);
        return;
    }
    const std::int64_t now = wallTime();
    auto found = statOf(file.number());
    if (!found) {
        readInVain(known, known, mostInterruptions);
        return;
    }
    found->folder = known.folder;
    found->name = known.name;
    found->failures = known.sameOnDisk(*found) ? known.failures : 0;
    if (expectedText(*found) == TextState::none) {
        replace(known, *found, TextState::none);
        return;
    }
    const TextSource::Result result = texts_.read(file.number(), known.name);
    const auto after = statOf(file.number());
    const bool changing = !after || !after->sameOnDisk(*found);
    if (result.outcome != TextSource::Outcome::unavailable)
        pausesInRow_ = 0;
    switch (result.outcome) {
    case TextSource::Outcome::refused:
        if (changing) { // half a document may not have its form
            readLater(known, *found);
            return;
        }
        [[fallthrough]];
    case TextSource::Outcome::text:
        if (std::abs(now - found->changed / 1'000'000) < tickOf(*found).count())
            --found->changed; // so that the next look takes it for changed
        replace(known, *found, result.outcome == TextSource::Outcome::text ? TextState::indexed : TextState::refused,
                result.text);
        return;
    case TextSource::Outcome::crashed:
        readInVain(known, *found, changing ? mostInterruptions : mostCrashes);
        return;
    case TextSource::Outcome::interrupted:
        readInVain(known, *found, mostInterruptions);
        return;
    case TextSource::Outcome::unavailable:
        pauseReader();
        return;
    case TextSource::Outcome::ended: // it stays waiting for the next start
        pausedUntil_ = std::chrono::steady_clock::now() + longestPause;
        return;
    }
}

void Reconciler::notOpened(const Entry& known, int folder, int error) {
    if (error == EMFILE || error == ENFILE || error == ENOMEM) {
        pauseReader();
        return;
    }
    auto found = folder >= 0 ? statAt(folder, known.name) : std::nullopt;
    if (!found) {
        const int cause = folder >= 0 ? errno : error;
        if (cause == ENOENT || cause == ENOTDIR || cause == ELOOP)
            removeEntry(known);
        else
            readInVain(known, known, mostInterruptions);
        return;
    }
    found->folder = known.folder;
    found->failures = known.sameOnDisk(*found) ? known.failures : 0;
    if (expectedText(*found) == TextState::none)
        replace(known, *found, TextState::none);
    else if (error == EACCES || error == EPERM) // as it will be until that changes, which a look at it shows
        replace(known, *found, TextState::refused);
    else
        readInVain(known, *found, mostInterruptions);
}

void Reconciler::replace(const Entry& known, Entry found, TextState text, std::string_view words) {
    found.text = text;
    found.failures = text == TextState::waiting ? found.failures : 0;
    store_.remove(known);
    store_.add(found, words);
    if (text == TextState::indexed && texts_.formOf(found.name) == TextSource::Form::rich)
        store_.keepText(found, words);
}

void Reconciler::readInVain(const Entry& known, Entry found, int most) {
    if (++found.failures >= most) {
        replace(known, std::move(found), TextState::refused);
        return;
    }
    const int doublings = std::min(2 * (found.failures - 1), 30);
    found.retryAt = wallTime() + std::min(settings_.firstRetry.count() << doublings, longestRetry);
    replace(known, std::move(found), TextState::waiting);
}

void Reconciler::readLater(const Entry& known, Entry found) {
    found.retryAt = wallTime() + settings_.firstRetry.count();
    replace(known, std::move(found), TextState::waiting);
}

void Reconciler::pauseReader() {
    const std::chrono::milliseconds pause = settings_.firstRetry * (1 << std::min(2 * pausesInRow_, 20));
    ++pausesInRow_;
    pausedUntil_ = std::chrono::steady_clock::now() + std::min<std::chrono::milliseconds>(pause, longestPause);
}

bool Reconciler::moveFolder(std::uint32_t from, const std::string& oldName, std::uint32_t to,
                            const std::string& newName) {
    Catalogue& catalogue = store_.catalogue();
    const auto child = catalogue.child(from, oldName);
    if (isHidden(newName) || !catalogue.folder(to) || !child)
        return false;
    const auto inside = catalogue.tree(*child);
    if (std::ranges::find(inside, to) != inside.end())
        return false;
    store_.begin();
    if (const auto replaced = catalogue.child(to, newName); replaced && *replaced != *child)
        forget(store_.removeTree(*replaced));
    catalogue.moveFolder(*child, to, newName);
    if (const auto entry = catalogue.entry(from, oldName))
        store_.remove(*entry);
    return true;
}

} // namespace vennic::index
