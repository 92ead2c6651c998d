#pragma once
#include "ports/StatusItem.h"

#include <QColor>
#include <QImage>

namespace vennic {

/// The picture as pixels, `side` wide and high (Format_ARGB32_Premultiplied). A template is drawn in `ink`; the
/// highlight is a pale field of the ink behind it. A null image when it can't be drawn.
QImage statusPicture(const StatusImage& image, int side, const QColor& ink, bool highlighted);

/// Where nothing is known of the background: readable on light and on dark.
inline constexpr QColor inkForAnyBackground(0x8e, 0x8e, 0x8e);
/// The ink that reads best on a background.
QColor inkOn(const QColor& background);

} // namespace vennic
