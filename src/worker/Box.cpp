#include "worker/Box.h"

#include "worker/CallFilter.h"
#include "worker/FileRules.h"

#include <sys/prctl.h>
#include <sys/resource.h>

namespace vennic::worker {
namespace {

bool limit(__rlimit_resource what, rlim_t most) {
    const rlimit both{most, most};
    return setrlimit(what, &both) == 0;
}

bool limitResources(const BoxRules& rules) {
#if !defined(VENNIC_SANITIZED)
    if (!limit(RLIMIT_DATA, rules.memoryBytes) || !limit(RLIMIT_AS, rules.memoryBytes + rules.mappedBytes))
        return false;
#endif
    // It counts the threads of the whole user, so that there is nothing between none and no bound.
    if (!rules.threads && !limit(RLIMIT_NPROC, 0))
        return false;
    constexpr rlim_t mostDescriptors = 32;
    return limit(RLIMIT_CPU, rules.cpuSeconds) && limit(RLIMIT_NOFILE, mostDescriptors) && limit(RLIMIT_CORE, 0) &&
           limit(RLIMIT_FSIZE, 0) && limit(RLIMIT_MEMLOCK, 0) && limit(RLIMIT_MSGQUEUE, 0);
}

} // namespace

wire::BoxState lockDown(const BoxRules& rules) {
    if (!limitResources(rules))
        return wire::BoxState::noLimits;
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        return wire::BoxState::noPrivilegeLock;
    if (!restrictFiles(rules.readableFolders))
        return wire::BoxState::noFileRules;
    if (!filterCalls(rules.threads))
        return wire::BoxState::noCallFilter;
    return wire::BoxState::boxed;
}

} // namespace vennic::worker
