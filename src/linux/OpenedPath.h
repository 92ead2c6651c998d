#pragma once
#include "linux/FileDescriptor.h"

#include <QByteArray>

namespace vennic {

/// Opens a path by openat2(2), with the flags of open(2). Symbolic links are followed, but not those of /proc, which
/// lead to what has no place in any folder. Not open, with errno, when that fails.
FileDescriptor openedPath(const QByteArray& path, int flags);

} // namespace vennic
