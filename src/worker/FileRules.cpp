#include "worker/FileRules.h"

#include <cstdint>
#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vennic::worker {
namespace {

// The kernel takes a longer record than it knows as long as the rest is zero, and is asked first which version it is;
// the headers of the build machine may be older than the kernel.
struct Ruleset {
    std::uint64_t files = 0;
    std::uint64_t network = 0;
    std::uint64_t scoped = 0;
};

constexpr std::uint64_t bits(unsigned count) { return (std::uint64_t{1} << count) - 1; }

Ruleset everythingKnownTo(long version) {
    Ruleset set;
    set.files = version >= 5 ? bits(16) : version >= 3 ? bits(15) : version == 2 ? bits(14) : bits(13);
    set.network = version >= 4 ? bits(2) : 0; // TCP bind and connect
    set.scoped = version >= 6 ? bits(2) : 0;  // abstract sockets, signals
    return set;
}

std::size_t sizeKnownTo(long version) {
    return version >= 6 ? sizeof(Ruleset) : version >= 4 ? 2 * sizeof(std::uint64_t) : sizeof(std::uint64_t);
}

bool allowReading(int rules, const char* folder) {
    const int at = open(folder, O_PATH | O_CLOEXEC);
    if (at < 0)
        return true; // nothing there to read
    landlock_path_beneath_attr beneath{};
    beneath.allowed_access = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
    beneath.parent_fd = at;
    const long added = syscall(SYS_landlock_add_rule, rules, LANDLOCK_RULE_PATH_BENEATH, &beneath, 0);
    close(at);
    return added == 0;
}

} // namespace

bool restrictFiles(std::span<const char* const> readableFolders) {
    const long version = syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    if (version < 1)
        return false;
    const Ruleset set = everythingKnownTo(version);
    const int rules = static_cast<int>(syscall(SYS_landlock_create_ruleset, &set, sizeKnownTo(version), 0));
    if (rules < 0)
        return false;
    bool restricted = allowReading(rules, "/usr/share/poppler");
    for (const char* const folder : readableFolders)
        restricted = restricted && allowReading(rules, folder);
    restricted = restricted && syscall(SYS_landlock_restrict_self, rules, 0) == 0;
    close(rules);
    return restricted;
}

} // namespace vennic::worker
