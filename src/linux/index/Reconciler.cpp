#include "linux/index/Reconciler.h"

#include <algorithm>
#include <cerrno>

namespace vennic::index {

namespace {

/// So many failures in a row mean that the reader is at fault, not the documents.
constexpr std::size_t mostSuspects = 8;
constexpr std::chrono::minutes readerPause{5};

} // namespace

Reconciler::Reconciler(IndexStore& store, Watches& watches, TextSource& texts)
    : store_(store), watches_(watches), texts_(texts) {}

void Reconciler::watch(std::uint32_t folder, int open) {
    const bool limited = !watches_.add(folder, open);
    watchLimited_ = watchLimited_ || limited;
    if (limited || volumeOf(open) == Volume::remote) {
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
    if (found.text == TextState::waiting && known.text == TextState::waiting)
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
    if (!listed)
        return subfolders;
    std::unordered_map<std::string, Entry> known;
    for (Entry& entry : store_.catalogue().entries(folder))
        known.emplace(entry.name, std::move(entry));
    std::unordered_map<std::string, std::uint32_t> children;
    for (FolderRow& row : store_.catalogue().children(folder))
        children.emplace(std::move(row.name), row.id);
    for (Entry& found : *listed) {
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
    const Descriptor open = openFolder(components);
    auto found = open ? statAt(open.get(), name) : std::nullopt;
    const auto known = store_.catalogue().entry(folder, name);
    Look look;
    if (!found) {
        if (known)
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

void Reconciler::readText(std::uint32_t folder, const std::string& name) {
    const auto known = store_.catalogue().entry(folder, name);
    if (known && known->text == TextState::waiting)
        readText(*known);
}

void Reconciler::readText(const Entry& known) {
    const Descriptor folder = openFolder(store_.catalogue().components(known.folder));
    const Descriptor file = folder ? openFileAt(folder.get(), known.name) : Descriptor();
    const bool missing = !file && (errno == ENOENT || errno == ENOTDIR);
    auto found = file ? statOf(file.get()) : folder ? statAt(folder.get(), known.name) : std::nullopt;
    if (missing || !found) {
        removeEntry(known);
        return;
    }
    found->folder = known.folder;
    found->name = known.name;
    found->text = TextState::refused;
    TextSource::Result result;
    const TextState expected = expectedText(*found);
    if (file && expected == TextState::waiting) {
        result = texts_.read(file.get(), known.name);
        // The reader may have been ended by somebody else: a document is to blame when it happens twice.
        if (result.outcome == TextSource::Outcome::failed)
            result = texts_.read(file.get(), known.name);
    } else if (expected == TextState::none) {
        found->text = TextState::none;
    }
    if (result.outcome == TextSource::Outcome::ended) { // it stays waiting for the next start
        pausedUntil_ = std::chrono::steady_clock::now() + readerPause;
        return;
    }
    const bool read = result.outcome == TextSource::Outcome::text;
    if (read)
        found->text = TextState::indexed;
    store_.remove(known);
    store_.add(*found, result.text);
    if (read && texts_.formOf(known.name) == TextSource::Form::rich)
        store_.keepText(*found, result.text);
    if (result.outcome == TextSource::Outcome::failed)
        readerFailed(*found);
    else if (read)
        suspects_.clear();
}

void Reconciler::readerFailed(const Entry& entry) {
    suspects_.push_back(entry);
    if (suspects_.size() < mostSuspects)
        return;
    for (Entry& suspect : suspects_) {
        if (store_.catalogue().exists(suspect.id))
            store_.setText(suspect, TextState::waiting);
    }
    suspects_.clear();
    pausedUntil_ = std::chrono::steady_clock::now() + readerPause;
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
