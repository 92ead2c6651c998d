#include "Bridge/LocalToolText.h"

#include <cmath>

namespace vennic {

QString kilobytes(qint64 bytes) {
    const double tenths = std::round(static_cast<double>(bytes) / 1024.0 * 10.0);
    return QString::number(tenths / 10.0, 'f', 1);
}

QString noFoldersGranted() {
    return QStringLiteral("The Mac bridge has no folders granted yet. Ask the user to add one from the Mac app "
                          "Settings → Bridge.");
}

} // namespace vennic
