#pragma once
#include <QByteArray>
#include <QProcess>

namespace vennic::test {

/// An X server of the test's own without a screen, named in DISPLAY while it lives.
class PrivateDisplay {
public:
    PrivateDisplay();
    PrivateDisplay(const PrivateDisplay&) = delete;
    PrivateDisplay& operator=(const PrivateDisplay&) = delete;
    ~PrivateDisplay();
    void kill();

private:
    QByteArray before_;
    QProcess process_;
};

/// Runs xdotool on the display in the environment; what it printed.
QByteArray xdotool(const QStringList& arguments);

} // namespace vennic::test
