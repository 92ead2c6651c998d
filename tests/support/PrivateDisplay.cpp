#include "support/PrivateDisplay.h"

#include <QStringList>

#include <stdexcept>

namespace vennic::test {

PrivateDisplay::PrivateDisplay() : before_(qgetenv("DISPLAY")) {
    process_.setStandardErrorFile(QProcess::nullDevice());
    // It prints the number that it found free, once it listens.
    process_.start(QStringLiteral("Xvfb"),
                   {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"), QStringLiteral("0"),
                    QStringLiteral("800x600x24"), QStringLiteral("-nolisten"), QStringLiteral("tcp"),
                    QStringLiteral("-noreset")});
    QByteArray number;
    while (!number.endsWith('\n')) {
        if (!process_.waitForReadyRead(20000))
            throw std::runtime_error("Xvfb could not be started");
        number += process_.readAllStandardOutput();
    }
    qputenv("DISPLAY", ":" + number.trimmed());
}

PrivateDisplay::~PrivateDisplay() {
    kill();
    if (before_.isNull())
        qunsetenv("DISPLAY");
    else
        qputenv("DISPLAY", before_);
}

void PrivateDisplay::kill() {
    process_.kill();
    process_.waitForFinished();
}

QByteArray xdotool(const QStringList& arguments) {
    QProcess process;
    process.start(QStringLiteral("xdotool"), arguments);
    process.waitForFinished();
    return process.readAllStandardOutput();
}

} // namespace vennic::test
