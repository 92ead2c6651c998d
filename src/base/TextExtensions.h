#pragma once
#include <QStringView>

namespace vennic {

/// Whether files of this extension (without the dot, any case) are text whatever the system thinks of them.
bool countsAsText(QStringView extension);

} // namespace vennic
