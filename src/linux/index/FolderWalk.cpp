#include "linux/index/FolderWalk.h"

#include <cerrno>
#include <sys/stat.h>

namespace vennic::index {

namespace {
constexpr std::size_t deepest = 200; // each level keeps a descriptor
} // namespace

void FolderWalk::clear() {
    queue_.clear();
    stack_.clear();
}

void FolderWalk::enter(std::uint32_t folder, FileDescriptor open, int error, std::uint64_t parentDevice, Depth depth) {
    if (!store_.catalogue().folder(folder))
        return; // forgotten meanwhile
    struct stat status{};
    if (!open.isOpen() || fstat(open.number(), &status) != 0) {
        if (tellsOfAbsence(error))
            reconciler_.empty(folder);
        else
            reconciler_.setIncomplete();
        return;
    }
    if (status.st_dev != parentDevice && volumeOf(open.number()) == Volume::none) {
        reconciler_.empty(folder);
        return;
    }
    Frame frame{std::move(open), status.st_dev, depth, {}, 0};
    frame.subfolders = reconciler_.syncFolder(folder, frame.open.number());
    stack_.push_back(std::move(frame));
}

void FolderWalk::step(std::chrono::steady_clock::time_point end) {
    while (active() && std::chrono::steady_clock::now() < end && !store_.full()) {
        if (stack_.empty()) {
            const auto [folder, depth] = queue_.front();
            queue_.pop_front();
            const auto components = store_.catalogue().components(folder);
            if (components.empty())
                continue;
            FileDescriptor open = openFolder(components);
            const int error = errno;
            enter(folder, std::move(open), error, 0, depth);
            continue;
        }
        Frame& frame = stack_.back();
        if (frame.next == frame.subfolders.size() || stack_.size() >= deepest) {
            stack_.pop_back();
            continue;
        }
        const Reconciler::Subfolder& subfolder = frame.subfolders[frame.next++];
        if (frame.depth == Depth::fresh && !subfolder.fresh)
            continue;
        FileDescriptor open = openFolderAt(frame.open.number(), subfolder.row.name);
        const int error = errno;
        enter(subfolder.row.id, std::move(open), error, frame.device, Depth::all);
    }
}

} // namespace vennic::index
