#pragma once
#include <QString>

namespace vennic {

/// The same text for the eye: the blanks that French writes before « : ; ! ? » and a unit, and inside its quotation
/// marks, become ones at which no line ends. Each character keeps its place.
QString withFrenchSpacing(QString text);

} // namespace vennic
