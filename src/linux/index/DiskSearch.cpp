#include "linux/index/DiskSearch.h"

#include "linux/index/DiskFolder.h"
#include "linux/index/ScopeFilter.h"
#include "linux/index/TextFold.h"

#include <algorithm>
#include <sys/stat.h>

namespace vennic::index {

namespace {
constexpr std::size_t mostEntries = 50'000;       // of each scope, as many as a walk for a search looks at
constexpr std::size_t deepest = 200;              // levels below a scope
constexpr std::int64_t largestRichFile = 1 << 20; // a large one may take its reader longer than there is time
} // namespace

DiskSearch::DiskSearch(const SearchRequest& request, const Database* catalogue, TextSource& texts,
                       const std::atomic<bool>& stop)
    : request_(request), texts_(texts), stop_(stop), rule_(request.patterns.size(), request.groups) {
    for (const std::string& pattern : request.patterns)
        patterns_.emplace_back(pattern);
    if (catalogue) {
        finder_.emplace(*catalogue);
        entries_ = catalogue->prepare("SELECT name, modified, changed, size, kind, state FROM file WHERE dir=?");
    }
}

void DiskSearch::run(const Searcher::OnDisk& onDisk, const Searcher::Sink& sink) {
    if (rule_.never() || request_.limit == 0)
        return;
    for (const ScopeBase& base : scopeBases(request_.scopes, request_.folders)) {
        const auto known = finder_ ? finder_->find(base.canonical) : std::nullopt;
        folders_.push_back({{base.canonical}, base.spelled, known, 0});
        walk(folders_.size() - 1, onDisk.until, sink);
    }
    readTexts(onDisk, sink);
}

void DiskSearch::walk(std::size_t first, Moment end, const Searcher::Sink& sink) {
    std::size_t seen = 0;
    for (std::size_t at = first; at < folders_.size() && seen < mostEntries && !over(end); ++at)
        seen += look(at, sink);
}

std::size_t DiskSearch::look(std::size_t folder, const Searcher::Sink& sink) {
    const Folder here = folders_[folder]; // a copy: the list grows below
    const FileDescriptor open = openFolder(here.components);
    struct stat status{};
    if (!open.isOpen() || fstat(open.number(), &status) != 0 ||
        (status.st_dev != here.device && volumeOf(open.number()) == Volume::none))
        return 1;
    const auto listed = listFolder(open.number());
    if (!listed)
        return 1;
    const auto known = knownIn(here);
    for (const Entry& entry : listed->entries) {
        const auto row = known.find(entry.name);
        judge(folder, entry, row == known.end() ? nullptr : &row->second, sink);
        if (entry.kind != EntryKind::folder || here.components.size() >= deepest)
            continue;
        Folder below{here.components, here.path + '/' + entry.name, std::nullopt, status.st_dev};
        below.components.push_back(entry.name);
        if (finder_ && here.known)
            below.known = finder_->child(*here.known, entry.name);
        folders_.push_back(std::move(below));
    }
    return listed->entries.size() + 1;
}

void DiskSearch::judge(std::size_t folder, const Entry& entry, const Entry* known, const Searcher::Sink& sink) {
    const bool asKnown = known && known->sameOnDisk(entry);
    if (asKnown && known->text != TextState::waiting)
        return; // the index has decided
    if (rule_.holds(matchesOf(entry.name))) {
        sink({folders_[folder].path + '/' + entry.name, entry});
        return;
    }
    const TextSource::Form form = entry.kind == EntryKind::file ? texts_.formOf(entry.name) : TextSource::Form::none;
    const std::int64_t largest = form == TextSource::Form::plain ? largestTextFile : largestRichFile;
    if (form != TextSource::Form::none && entry.size > 0 && entry.size <= largest)
        unread_.push_back({folder, entry});
}

std::vector<bool> DiskSearch::matchesOf(const std::string& name) const {
    const std::string folded = foldedText(name);
    std::vector<bool> matches;
    matches.reserve(patterns_.size());
    for (const LikePattern& pattern : patterns_)
        matches.push_back(pattern.matches(folded, &stop_));
    return matches;
}

std::unordered_map<std::string, Entry> DiskSearch::knownIn(const Folder& folder) {
    std::unordered_map<std::string, Entry> known;
    if (!folder.known)
        return known;
    for (entries_.with(*folder.known); entries_.step();) {
        Entry entry;
        entry.name = entries_.blob(0);
        entry.modified = entries_.integer(1);
        entry.changed = entries_.integer(2);
        entry.size = entries_.integer(3);
        entry.kind = static_cast<EntryKind>(entries_.integer(4));
        entry.text = static_cast<TextState>(entries_.integer(5));
        known.emplace(entry.name, entry);
    }
    return known;
}

void DiskSearch::readTexts(const Searcher::OnDisk& onDisk, const Searcher::Sink& sink) {
    std::ranges::sort(unread_, std::ranges::greater(), [](const Unread& each) { return each.entry.modified; });
    for (const Unread& unread : unread_) {
        if (over(onDisk.until) || !onDisk.wants(unread.entry))
            return;
        if (textMatches(unread))
            sink({folders_[unread.folder].path + '/' + unread.entry.name, unread.entry});
    }
}

bool DiskSearch::textMatches(const Unread& unread) {
    const FileDescriptor folder = openFolder(folders_[unread.folder].components);
    const FileDescriptor file = folder.isOpen() ? openFileAt(folder.number(), unread.entry.name) : FileDescriptor();
    const auto now = file.isOpen() ? statOf(file.number()) : std::nullopt;
    if (!now || now->size > largestTextFile)
        return false;
    const TextSource::Result result = texts_.read(file.number(), unread.entry.name);
    if (result.outcome != TextSource::Outcome::text)
        return false;
    const std::string text = foldedText(result.text);
    std::vector<bool> matches = matchesOf(unread.entry.name); // a word may stand in the name, another in the text
    for (std::size_t i = 0; i < patterns_.size(); ++i)
        matches[i] = matches[i] || patterns_[i].matches(text, &stop_);
    return rule_.holds(matches);
}

} // namespace vennic::index
