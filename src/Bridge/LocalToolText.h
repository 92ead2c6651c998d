#pragma once
#include <QString>

namespace vennic {

/// Bytes as KB with one decimal, as the model reads sizes: "12.3", "4.0".
QString kilobytes(qint64 bytes);

/// What the model reads while no folder is shared.
QString noFoldersGranted();

} // namespace vennic
