#pragma once
#include "server/AnswerChoice.h"
#include "server/Http.h"

#include <QStringList>

#include <chrono>
#include <optional>

namespace vennic::server {

/// What the command line asks for.
struct Options {
    QString data;
    QString listenAddress = QStringLiteral("127.0.0.1");
    quint16 listenPort = 0; // 0: the kept one, else any free one
    QStringList hosts;      // further names in the certificate
    QString readyFile;
    QString ownerEmail = QStringLiteral("proprietaire@localhost");
    std::chrono::milliseconds taskTimeout = std::chrono::seconds{60};
    std::optional<AnswerChoice> answering; // who answers; none: whom the owner chooses in the console
    HttpLimits limits;                     // not on the command line
    bool help = false;
    bool version = false;
};

/// Reads the arguments behind the program's name. Raises LocalizedError with what is wrong.
Options readOptions(const QStringList& arguments);
/// The text of --help.
QString optionsHelp();

} // namespace vennic::server
