#pragma once
#include <cstddef>
#include <functional>
#include <string>

namespace vennic::test {

/// A call to the system that changes a file: write, synchronise, cut or delete.
struct FileCall {
    enum class Kind { write, synchronise, truncate, remove };
    Kind kind = Kind::write;
    std::string path;
    std::size_t number = 0; // from 1, of the calls on files below the watched folder
};

enum class Verdict {
    proceed,
    skip, // the call does nothing and says that all is well
    noSpace,
    kill,
};

struct SupervisedEnd {
    bool killed = false;
    int exitCode = -1;     // when it wasn't killed
    std::size_t calls = 0; // that were judged
};

/// Runs `work` in a process of its own, in which each call on a file below `folder`, whichever library makes it, is put
/// before `judge` first. `judge` runs in that process on another thread. The process ends with what `work` returns.
SupervisedEnd runSupervised(const std::string& folder, const std::function<int()>& work,
                            const std::function<Verdict(const FileCall&)>& judge);

} // namespace vennic::test
