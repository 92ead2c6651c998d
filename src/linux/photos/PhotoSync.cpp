#include "linux/photos/PhotoSync.h"

#include "base/Identifier.h"
#include "linux/index/DiskFolder.h"
#include "linux/photos/PictureType.h"

#include <algorithm>
#include <cerrno>
#include <unordered_map>

namespace vennic::photos {

namespace {

/// Whether the folder itself is at fault, not a shortage of descriptors or memory.
bool meansNoFolder(int error) {
    return error == ENOENT || error == ENOTDIR || error == ELOOP || error == EACCES || error == EPERM;
}

} // namespace

PhotoSync::PhotoSync(PhotoCatalogue& catalogue, index::Watches& watches, const FileTypes& types, Facts facts,
                     Taken taken)
    : catalogue_(catalogue), watches_(watches), types_(types), facts_(std::move(facts)), taken_(std::move(taken)) {}

void PhotoSync::clear() {
    queue_.clear();
    arrivals_.clear();
    missing_.clear();
    goneFolders_.clear();
    open_ = {};
    lostRoot_ = 0;
}

bool PhotoSync::concerns(const index::Change& change) const {
    return !index::isHidden(change.name) &&
           (change.isFolder || mayBePhoto(QString::fromStdString(change.name), types_));
}

void PhotoSync::step(std::int64_t now) {
    if (queue_.empty()) {
        settle(now);
        return;
    }
    const auto [folder, depth] = queue_.front();
    queue_.pop_front();
    lookAt(folder, depth);
}

void PhotoSync::lookAt(std::uint32_t folder, Depth depth) {
    const auto components = catalogue_.components(folder);
    if (components.empty())
        return; // forgotten meanwhile
    open_ = {};
    const FileDescriptor open = index::openFolder(components);
    const int error = errno;
    const bool isRoot = components.size() == 1;
    if (isRoot)
        lostRoot_ = open.isOpen() ? 0 : folder;
    if (!open.isOpen()) {
        // A pictures folder that has gone may be on a disk that comes back: its photos wait for it.
        watches_.remove(folder);
        if (!isRoot && meansNoFolder(error))
            leave(folder);
        return;
    }
    if (index::volumeOf(open.number()) == index::Volume::none) {
        leave(folder);
        return;
    }
    watch(folder, open.number()); // before the listing, so that nothing slips between the two
    const auto listed = index::listFolder(open.number());
    if (!listed)
        return;
    compareFiles(folder, *listed);
    compareFolders(folder, *listed, depth);
}

void PhotoSync::watch(std::uint32_t folder, int open) {
    const bool limited = !watches_.add(folder, open);
    watchLimited_ = watchLimited_ || limited;
    if (limited || index::volumeOf(open) == index::Volume::remote)
        unwatched_.insert(folder);
    else
        unwatched_.erase(folder);
}

void PhotoSync::compareFiles(std::uint32_t folder, const index::Listing& listed) {
    std::unordered_map<std::string, PhotoRow> known;
    for (PhotoRow& row : catalogue_.photosIn(folder))
        known.emplace(row.name, std::move(row));
    for (const index::Entry& entry : listed.entries) {
        if (entry.kind != index::EntryKind::file || !mayBePhoto(QString::fromStdString(entry.name), types_))
            continue;
        const auto row = known.find(entry.name);
        if (row == known.end()) {
            arrivals_.push_back({folder, entry.name});
            continue;
        }
        if (row->second.disk.hasSameStamps(entry)) {
            missing_.erase(row->second.id);
        } else {
            missing_.insert(row->second.id);
            arrivals_.push_back({folder, entry.name});
        }
        known.erase(row);
    }
    for (const std::string& name : listed.unseen) // it may still be there
        known.erase(name);
    for (const auto& [name, row] : known)
        missing_.insert(row.id);
}

void PhotoSync::compareFolders(std::uint32_t folder, const index::Listing& listed, Depth depth) {
    std::unordered_map<std::string, std::uint32_t> known;
    for (PhotoCatalogue::FolderRow& row : catalogue_.children(folder))
        known.emplace(std::move(row.name), row.id);
    for (const index::Entry& entry : listed.entries) {
        if (entry.kind != index::EntryKind::folder)
            continue;
        const auto child = known.find(entry.name);
        if (child == known.end()) {
            push(catalogue_.addFolder(folder, entry.name), Depth::all);
            continue;
        }
        // One that had gone and is back, or that was never opened, has to be looked at too.
        const bool isBack = goneFolders_.erase(child->second) != 0;
        const bool isFollowed = watches_.has(child->second) || unwatched_.contains(child->second);
        if (depth == Depth::all || isBack || !isFollowed)
            push(child->second, Depth::all);
        known.erase(child);
    }
    for (const std::string& name : listed.unseen)
        known.erase(name);
    for (const auto& [name, child] : known)
        leaveTree(child);
}

/// The photos of a folder, and what lies below, are no longer there.
void PhotoSync::leave(std::uint32_t folder) {
    for (const PhotoRow& row : catalogue_.photosIn(folder))
        missing_.insert(row.id);
    for (const PhotoCatalogue::FolderRow& child : catalogue_.children(folder))
        leaveTree(child.id);
}

void PhotoSync::leaveTree(std::uint32_t folder) {
    goneFolders_.insert(folder);
    leave(folder);
}

void PhotoSync::settle(std::int64_t now) {
    std::vector<Place> arrivals;
    arrivals.swap(arrivals_);
    // First the files that are where they were, then those that have moved, so that no place is taken for free.
    std::erase_if(arrivals, [this](const Place& place) { return stays(place); });
    std::erase_if(arrivals, [this](const Place& place) { return recognise(place); });
    for (const Place& place : arrivals)
        receive(place, now);
    for (const std::int64_t id : missing_) {
        if (const auto row = catalogue_.photo(id))
            catalogue_.depart(*row, now);
    }
    missing_.clear();
    for (const std::uint32_t folder : goneFolders_) {
        catalogue_.removeFolder(folder);
        watches_.remove(folder);
        unwatched_.erase(folder);
    }
    goneFolders_.clear();
    open_ = {};
}

/// Whether the photo of this place is still its file, perhaps written to, or there is no file any more.
bool PhotoSync::stays(const Place& place) {
    const auto disk = onDisk(place);
    if (!disk)
        return true;
    auto known = catalogue_.photoAt(place.folder, place.name);
    if (!known || !known->disk.isSameFile(*disk))
        return false;
    move(*std::move(known), place, *disk);
    return true;
}

/// Finds the photo that a file was so far, under another name. False when there is none.
bool PhotoSync::recognise(const Place& place) {
    const auto disk = onDisk(place);
    if (!disk)
        return true; // gone again
    for (PhotoRow& row : catalogue_.photosOf(disk->identity)) {
        if (!row.disk.isSameFile(*disk))
            continue;
        // A second name of a file that still has its first one is a photo of its own.
        if (stillStands(row))
            continue;
        makeRoom(place);
        move(std::move(row), place, *disk);
        return true;
    }
    return false;
}

/// Whoever is known under this name is another file: it waits aside until its own turn comes.
void PhotoSync::makeRoom(const Place& place) {
    auto known = catalogue_.photoAt(place.folder, place.name);
    if (!known)
        return;
    missing_.insert(known->id);
    known->folder = 0;
    known->name = std::to_string(known->id);
    catalogue_.update(*known);
}

/// Takes in a file that no photo was so far.
void PhotoSync::receive(const Place& place, std::int64_t now) {
    const auto disk = onDisk(place);
    if (!disk)
        return;
    const auto known = catalogue_.photoAt(place.folder, place.name);
    if (!known) {
        arrive(place, *disk, nullptr);
        return;
    }
    PhotoFactsReader::Result read;
    missing_.erase(known->id);
    if (isEdit(*known, *disk, read)) {
        move(*known, place, *disk);
        if (read.outcome == PhotoFactsReader::Outcome::read)
            keepFacts(known->id, read);
        return;
    }
    catalogue_.depart(*known, now);
    arrive(place, *disk, &read);
}

/// Whether another file in the place of a photo is that photo, saved anew.
bool PhotoSync::isEdit(const PhotoRow& known, const FileOnDisk& disk, PhotoFactsReader::Result& read) {
    if (known.state != PhotoState::photo)
        return true; // nothing is known of it that could differ
    const OpenFolder& folder = opened(known.folder);
    const FileDescriptor file =
        folder.descriptor.isOpen() ? index::openFileAt(folder.descriptor.number(), known.name) : FileDescriptor();
    if (!file.isOpen() || disk.size == 0)
        return true;
    read = facts_(file.number());
    if (read.outcome != PhotoFactsReader::Outcome::read || read.facts.format == PictureFormat::none)
        return true; // it may still be being written
    return taken_(read.facts) == taken_(known.facts);
}

bool PhotoSync::stillStands(const PhotoRow& row) {
    const auto disk = onDisk({row.folder, row.name});
    return disk && disk->isSameFile(row.disk);
}

/// A photo stands here now, whatever has become of its content.
void PhotoSync::move(PhotoRow row, const Place& place, const FileOnDisk& disk) {
    missing_.erase(row.id);
    if (!row.disk.hasSameContent(disk) || !(row.disk.identity == disk.identity))
        row.state = PhotoState::waiting;
    row.folder = place.folder;
    row.name = place.name;
    row.disk = disk;
    catalogue_.update(row);
}

void PhotoSync::arrive(const Place& place, const FileOnDisk& disk, const PhotoFactsReader::Result* read) {
    PhotoRow row;
    row.folder = place.folder;
    row.name = place.name;
    row.disk = disk;
    row.identifier = catalogue_.takeDeparted(disk).value_or(newIdentifier().toStdString());
    catalogue_.add(row);
    if (!read || read->outcome != PhotoFactsReader::Outcome::read)
        return;
    if (const auto added = catalogue_.photoAt(place.folder, place.name))
        keepFacts(added->id, *read);
}

void PhotoSync::keepFacts(std::int64_t id, const PhotoFactsReader::Result& read) {
    if (read.outcome == PhotoFactsReader::Outcome::read)
        suspects_.clear();
    const bool isPhoto = read.outcome == PhotoFactsReader::Outcome::read && read.facts.format != PictureFormat::none;
    const PhotoFacts facts = isPhoto ? read.facts : PhotoFacts{};
    catalogue_.setFacts(id, isPhoto ? PhotoState::photo : PhotoState::refused, facts, taken_(facts));
}

std::optional<PhotoFactsReader::Outcome> PhotoSync::readNewest(std::int64_t now) {
    using Outcome = PhotoFactsReader::Outcome;
    const auto row = catalogue_.newestWaiting();
    if (!row) {
        open_ = {}; // a sleeping library keeps no disk busy
        return std::nullopt;
    }
    const OpenFolder& folder = opened(row->folder);
    const FileDescriptor file =
        folder.descriptor.isOpen() ? index::openFileAt(folder.descriptor.number(), row->name) : FileDescriptor();
    if (!file.isOpen()) {
        const int error = errno;
        if (error == EMFILE || error == ENFILE || error == ENOMEM)
            return Outcome::failed;
        if (error == ENOENT || error == ENOTDIR)
            catalogue_.depart(*row, now);
        else
            keepFacts(row->id, {});
        return Outcome::refused;
    }
    PhotoFactsReader::Result read = facts_(file.number());
    // The reader may have been ended by somebody else: a file is to blame when it happens twice.
    if (read.outcome == Outcome::failed)
        read = facts_(file.number());
    if (read.outcome == Outcome::ended)
        return Outcome::ended;
    keepFacts(row->id, read);
    return read.outcome == Outcome::failed ? blame(row->id) : read.outcome;
}

/// Remembers that the reader failed on a file. When it fails on one after another the reader is at fault, and they all
/// wait again.
PhotoFactsReader::Outcome PhotoSync::blame(std::int64_t id) {
    constexpr std::size_t mostSuspects = 8;
    suspects_.push_back(id);
    if (suspects_.size() < mostSuspects)
        return PhotoFactsReader::Outcome::refused;
    for (const std::int64_t suspect : suspects_)
        catalogue_.setFacts(suspect, PhotoState::waiting, {}, undated);
    suspects_.clear();
    return PhotoFactsReader::Outcome::failed;
}

const PhotoSync::OpenFolder& PhotoSync::opened(std::uint32_t folder) {
    if (open_.id == folder && open_.descriptor.isOpen())
        return open_;
    open_.id = folder;
    open_.descriptor = index::openFolder(catalogue_.components(folder));
    open_.volume = open_.descriptor.isOpen() ? volumeIdentifier(open_.descriptor.number()) : 0;
    return open_;
}

std::optional<FileOnDisk> PhotoSync::onDisk(const Place& place) {
    const OpenFolder& folder = opened(place.folder);
    return folder.descriptor.isOpen() ? fileAt(folder.descriptor.number(), place.name, folder.volume) : std::nullopt;
}

} // namespace vennic::photos
