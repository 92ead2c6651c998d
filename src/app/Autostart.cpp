#include "app/Autostart.h"

#include "base/LocalizedError.h"
#include "base/SystemReason.h"
#include "base/WholeFile.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>

namespace vennic {

namespace {

/// Of the call that has just failed; Qt's own words are English.
QString lastReason() { return QString::fromStdString(systemReason(errno)); }

constexpr qint64 largestEntry = qint64{64} * 1024;

/// The program as the key Exec takes it: in double quotes, and then as a string value.
QString quoted(const QString& program) {
    QString argument;
    for (const QChar c : program) {
        if (c == u'"' || c == u'`' || c == u'$' || c == u'\\')
            argument += u'\\';
        argument += c;
        if (c == u'%')
            argument += c; // else it would begin a field code
    }
    argument.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    return QLatin1Char('"') + argument + QLatin1Char('"');
}

} // namespace

Autostart::Autostart(const QString& configuration, QString program)
    : entry_(configuration + QStringLiteral("/autostart/com.vennic.desktop.desktop")), program_(std::move(program)) {}

bool Autostart::isOn() const {
    QFile file(entry_);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    // What desktops write into an entry that their user switched off there.
    const QByteArray lines = '\n' + file.read(largestEntry).replace(' ', QByteArray()) + '\n';
    return !lines.contains("\nHidden=true\n") && !lines.contains("\nX-GNOME-Autostart-enabled=false\n");
}

void Autostart::turnOn() const {
    if (program_.contains(u'\n')) // no entry can name it
        throw LocalizedError(QStringLiteral("Le chemin de Vennic contient un retour à la ligne : %1").arg(program_));
    writeWholeFile(entry_, QStringLiteral("[Desktop Entry]\n"
                                          "Type=Application\n"
                                          "Name=Vennic\n"
                                          "Comment=Assistant personnel\n"
                                          "Icon=com.vennic.desktop\n"
                                          "Exec=%1\n"
                                          "Terminal=false\n")
                               .arg(quoted(program_))
                               .toUtf8());
}

void Autostart::turnOff() const {
    QFile file(entry_);
    if (file.remove())
        return;
    const QString reason = lastReason(); // before the next look at the disk
    if (file.exists() || QFileInfo(entry_).isSymLink())
        throw LocalizedError(QStringLiteral("%1 ne peut pas être supprimé : %2").arg(entry_, reason));
}

} // namespace vennic
