#include "linux/OpenedPath.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>

namespace vennic {

FileDescriptor openedPath(const QByteArray& path, int flags) {
    open_how how{};
    how.flags = static_cast<unsigned>(flags | O_CLOEXEC);
    how.resolve = RESOLVE_NO_MAGICLINKS;
    return FileDescriptor(static_cast<int>(syscall(SYS_openat2, AT_FDCWD, path.constData(), &how, sizeof how)));
}

} // namespace vennic
