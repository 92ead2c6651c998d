#pragma once
#include <QString>

namespace vennic {

/// Why a folder can't be opened or read, for errno's `error`: French, without capital and full stop.
QString folderFault(int error);

} // namespace vennic
