#pragma once
#include "linux/FileDescriptor.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace vennic::index {

/// What happened in a watched folder.
struct Change {
    enum class Kind { entry, movedFrom, movedTo, self, overflow };
    Kind kind = Kind::entry;
    std::uint32_t folder = 0;
    std::string name;
    bool isFolder = false;
    bool isOther = false;     // made or deleted: not what had this name before
    std::uint32_t cookie = 0; // the same in both halves of a move
};

/// Watches of single folders, within a budget.
class Watches {
public:
    /// At most `budget` folders; 0 is half of what the system allows.
    explicit Watches(std::size_t budget);

    int descriptor() const { return inotify_.number(); }
    /// Watches an open folder, in place of what had its identifier before. False when the budget or the system's limit
    /// is reached.
    bool add(std::uint32_t folder, int openFolder);
    void remove(std::uint32_t folder);
    bool has(std::uint32_t folder) const { return byFolder_.contains(folder); }
    /// What has happened since the last call, or the first part of it; never waits.
    std::vector<Change> read();
    void clear();

private:
    std::size_t budget_;
    FileDescriptor inotify_;
    std::unordered_map<int, std::uint32_t> byWatch_;
    std::unordered_map<std::uint32_t, int> byFolder_;
};

} // namespace vennic::index
