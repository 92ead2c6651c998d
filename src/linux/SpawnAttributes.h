#pragma once
#include <csignal>
#include <spawn.h>

namespace vennic {

/// How a process that is spawned begins: with no signal blocked and none ignored, whatever this one does with its own.
class SpawnAttributes {
public:
    enum class Group { ours, itsOwn };

    explicit SpawnAttributes(Group group = Group::ours) {
        posix_spawnattr_init(&attributes_);
        sigset_t signals;
        sigfillset(&signals);
        posix_spawnattr_setsigdefault(&attributes_, &signals);
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes_, &signals);
        int flags = POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK;
        if (group == Group::itsOwn)
            flags |= POSIX_SPAWN_SETPGROUP; // the group 0, which stands for a new one
        posix_spawnattr_setflags(&attributes_, static_cast<short>(flags));
    }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;
    ~SpawnAttributes() { posix_spawnattr_destroy(&attributes_); }

    const posix_spawnattr_t* get() const { return &attributes_; }

private:
    posix_spawnattr_t attributes_{};
};

} // namespace vennic
