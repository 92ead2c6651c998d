#pragma once
#include "ports/FileSystem.h"

#include <sys/stat.h>

namespace vennic {

/// What to ask of statx(2) for `fileValues`.
constexpr unsigned fileStatusMask = STATX_TYPE | STATX_SIZE | STATX_MTIME;

/// The values that statx(2) answered with; whether the volume is local is left open.
FileValues fileValues(const struct statx& status);

} // namespace vennic
