#pragma once
#include <QObject>
#include <QString>

namespace vennic {

/// The same text for the eye: the blanks that French writes before « : ; ! ? », a dash, a middle dot, a percent or euro
/// sign, between a number and its unit, and inside its quotation marks, become ones at which no line ends. Each
/// character keeps its place; smileys and paths are left alone.
QString withFrenchSpacing(QString text);

/// The same for the texts that QML writes itself.
class FrenchSpacing final : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    Q_INVOKABLE static QString typeset(const QString& words) { return withFrenchSpacing(words); }
};

} // namespace vennic
