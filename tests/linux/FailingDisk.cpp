#include "linux/FailingDisk.h"

#include <atomic>
#include <cstring>

namespace {

std::atomic<int> countdown{0}; // operations until the failure; 0: none is ordered
std::atomic<int> failure{SQLITE_OK};
std::atomic<bool> lasting{false};
std::atomic<bool> failing{false};
std::atomic<bool> failed{false};
std::atomic<int> syncCount{0};

int next() {
    if (failing)
        return failure;
    if (countdown > 0 && --countdown == 0) {
        failed = true;
        failing = lasting.load();
        return failure;
    }
    return SQLITE_OK;
}

struct File {
    sqlite3_file base;
    sqlite3_file* real;
};

sqlite3_file* real(sqlite3_file* file) { return reinterpret_cast<File*>(file)->real; }
sqlite3_vfs* underlying = nullptr;

const sqlite3_io_methods methods = {
    3,
    [](sqlite3_file* f) {
        const int code = real(f)->pMethods ? real(f)->pMethods->xClose(real(f)) : SQLITE_OK;
        sqlite3_free(real(f));
        return code;
    },
    [](sqlite3_file* f, void* to, int n, sqlite3_int64 at) { return real(f)->pMethods->xRead(real(f), to, n, at); },
    [](sqlite3_file* f, const void* from, int n, sqlite3_int64 at) {
        const int code = next();
        return code == SQLITE_OK ? real(f)->pMethods->xWrite(real(f), from, n, at) : code;
    },
    [](sqlite3_file* f, sqlite3_int64 size) {
        const int code = next();
        return code == SQLITE_OK ? real(f)->pMethods->xTruncate(real(f), size) : code;
    },
    [](sqlite3_file* f, int flags) {
        ++syncCount;
        const int code = next();
        return code == SQLITE_OK ? real(f)->pMethods->xSync(real(f), flags) : code;
    },
    [](sqlite3_file* f, sqlite3_int64* size) { return real(f)->pMethods->xFileSize(real(f), size); },
    [](sqlite3_file* f, int lock) { return real(f)->pMethods->xLock(real(f), lock); },
    [](sqlite3_file* f, int lock) { return real(f)->pMethods->xUnlock(real(f), lock); },
    [](sqlite3_file* f, int* out) { return real(f)->pMethods->xCheckReservedLock(real(f), out); },
    [](sqlite3_file* f, int op, void* arg) { return real(f)->pMethods->xFileControl(real(f), op, arg); },
    [](sqlite3_file* f) { return real(f)->pMethods->xSectorSize(real(f)); },
    [](sqlite3_file* f) { return real(f)->pMethods->xDeviceCharacteristics(real(f)); },
    [](sqlite3_file* f, int page, int size, int extend, void volatile** at) {
        return real(f)->pMethods->xShmMap(real(f), page, size, extend, at);
    },
    [](sqlite3_file* f, int offset, int n, int flags) {
        return real(f)->pMethods->xShmLock(real(f), offset, n, flags);
    },
    [](sqlite3_file* f) { real(f)->pMethods->xShmBarrier(real(f)); },
    [](sqlite3_file* f, int erase) { return real(f)->pMethods->xShmUnmap(real(f), erase); },
    [](sqlite3_file* f, sqlite3_int64 at, int n, void** out) { return real(f)->pMethods->xFetch(real(f), at, n, out); },
    [](sqlite3_file* f, sqlite3_int64 at, void* page) { return real(f)->pMethods->xUnfetch(real(f), at, page); },
};

int open(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags) {
    auto* own = reinterpret_cast<File*>(file);
    own->base.pMethods = nullptr;
    if (const int code = next(); code != SQLITE_OK)
        return SQLITE_CANTOPEN;
    own->real = static_cast<sqlite3_file*>(sqlite3_malloc(underlying->szOsFile));
    std::memset(own->real, 0, static_cast<std::size_t>(underlying->szOsFile));
    const int code = underlying->xOpen(underlying, name, own->real, flags, outFlags);
    if (code != SQLITE_OK) {
        sqlite3_free(own->real);
        return code;
    }
    own->base.pMethods = &methods;
    return SQLITE_OK;
}

sqlite3_vfs vfs;

} // namespace

namespace vennic::test {

FailingDisk::FailingDisk() {
    underlying = sqlite3_vfs_find(nullptr);
    vfs = *underlying;
    vfs.zName = "failing";
    vfs.szOsFile = sizeof(File);
    vfs.xOpen = open;
    syncCount = 0;
    heal();
    sqlite3_vfs_register(&vfs, 1);
}

FailingDisk::~FailingDisk() {
    heal();
    sqlite3_vfs_unregister(&vfs);
}

void FailingDisk::failFrom(int nth, int code) {
    failing = false;
    failed = false;
    lasting = true;
    failure = code;
    countdown = nth;
}

void FailingDisk::failOnce(int nth, int code) {
    failFrom(nth, code);
    lasting = false;
}

bool FailingDisk::hasFailed() const { return failed; }

int FailingDisk::syncs() const { return syncCount; }

} // namespace vennic::test
