#pragma once
#include "linux/index/Reconciler.h"

#include <chrono>
#include <deque>
#include <vector>

namespace vennic::index {

/// Goes through folders and all below them in small steps.
class FolderWalk {
public:
    FolderWalk(IndexStore& store, Reconciler& reconciler) : store_(store), reconciler_(reconciler) {}

    /// Below the folder itself only what wasn't known is entered.
    enum class Depth { all, fresh };
    void push(std::uint32_t folder, Depth depth) { queue_.push_back({folder, depth}); }
    bool active() const { return !queue_.empty() || !stack_.empty(); }
    void clear();
    /// Works until `end` or the end of all folders.
    void step(std::chrono::steady_clock::time_point end);

private:
    struct Frame {
        FileDescriptor open;
        std::uint64_t device = 0;
        Depth depth = Depth::all;
        std::vector<Reconciler::Subfolder> subfolders;
        std::size_t next = 0;
    };
    void enter(std::uint32_t folder, FileDescriptor open, int error, std::uint64_t parentDevice, Depth depth);

    IndexStore& store_;
    Reconciler& reconciler_;
    std::deque<std::pair<std::uint32_t, Depth>> queue_;
    std::vector<Frame> stack_;
};

} // namespace vennic::index
