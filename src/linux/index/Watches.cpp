#include "linux/index/Watches.h"

#include <array>
#include <cstdlib>
#include <fstream>
#include <sys/inotify.h>

namespace vennic::index {

namespace {

constexpr std::uint32_t interest = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_CLOSE_WRITE | IN_MODIFY |
                                   IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR | IN_EXCL_UNLINK;

constexpr int mostRounds = 8;

std::size_t halfOfTheSystems() {
    std::size_t most = 8192;
    std::ifstream("/proc/sys/fs/inotify/max_user_watches") >> most;
    return most / 2; // the user's other programs watch too
}

} // namespace

Watches::Watches(std::size_t budget)
    : budget_(budget ? budget : halfOfTheSystems()), inotify_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {}

bool Watches::add(std::uint32_t folder, int openFolder) {
    const auto known = byFolder_.find(folder);
    if (!inotify_.isOpen() || (known == byFolder_.end() && byFolder_.size() >= budget_))
        return false;
    // By the open descriptor: the name could lead elsewhere by now.
    const std::string path = "/proc/self/fd/" + std::to_string(openFolder);
    const int watch = inotify_add_watch(inotify_.number(), path.c_str(), interest);
    if (known != byFolder_.end() && known->second == watch)
        return true; // the same folder has the same number
    if (known != byFolder_.end())
        remove(folder); // another one has taken its place
    if (watch < 0)
        return false;
    if (const auto old = byWatch_.find(watch); old != byWatch_.end())
        byFolder_.erase(old->second); // the same folder under its former identifier
    byWatch_[watch] = folder;
    byFolder_[folder] = watch;
    return true;
}

void Watches::remove(std::uint32_t folder) {
    const auto found = byFolder_.find(folder);
    if (found == byFolder_.end())
        return;
    inotify_rm_watch(inotify_.number(), found->second);
    byWatch_.erase(found->second);
    byFolder_.erase(found);
}

void Watches::clear() { *this = Watches(budget_); }

std::vector<Change> Watches::read() {
    std::vector<Change> changes;
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): the kernel fills it
    alignas(inotify_event) std::array<char, 65536> buffer;
    // Who writes without end must not keep us here.
    for (int round = 0; round < mostRounds; ++round) {
        const ssize_t got = ::read(inotify_.number(), buffer.data(), buffer.size());
        if (got <= 0)
            break;
        for (ssize_t at = 0; at < got;) {
            const auto* event = reinterpret_cast<const inotify_event*>(buffer.data() + at);
            at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
            Change change;
            if (event->mask & IN_Q_OVERFLOW) {
                change.kind = Change::Kind::overflow;
                changes.push_back(change);
                continue;
            }
            const auto found = byWatch_.find(event->wd);
            if (found == byWatch_.end())
                continue; // of a watch removed since
            change.folder = found->second;
            if (event->mask & IN_IGNORED) {
                byFolder_.erase(found->second);
                byWatch_.erase(found);
                continue;
            }
            if (event->mask & (IN_DELETE_SELF | IN_MOVE_SELF))
                change.kind = Change::Kind::self;
            else if (event->mask & IN_MOVED_FROM)
                change.kind = Change::Kind::movedFrom;
            else if (event->mask & IN_MOVED_TO)
                change.kind = Change::Kind::movedTo;
            if (event->len)
                change.name = event->name;
            if (change.name.empty() && change.kind != Change::Kind::self)
                continue; // the folder's own attributes: its parent tells too
            change.isFolder = event->mask & IN_ISDIR;
            change.isOther = event->mask & (IN_CREATE | IN_DELETE);
            change.cookie = event->cookie;
            changes.push_back(std::move(change));
        }
    }
    return changes;
}

} // namespace vennic::index
