#pragma once
#include "app/CommandLine.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <optional>

namespace vennic {

/// A verb on its way to the running client. `secret` carries what came by standard input, `local` the option --local.
struct CommandRequest {
    QString verb;
    QStringList arguments;
    QString secret;
    bool local = false;
    bool operator==(const CommandRequest&) const = default;
};

/// What the client answers: data for --json and a text for people, and why something wasn't done. An answer may have
/// both: of several folders some were shared and some weren't.
struct CommandAnswer {
    ExitStatus status = ExitStatus::done;
    QString text; // for standard output
    QJsonObject data;
    QString reason = {}; // for standard error
    bool operator==(const CommandAnswer&) const = default;
};

QByteArray encodeCommandRequest(const CommandRequest& request);
/// None when the line is not a request.
std::optional<CommandRequest> decodeCommandRequest(const QByteArray& line);

QByteArray encodeCommandAnswer(const CommandAnswer& answer);
/// None when the line is not an answer.
std::optional<CommandAnswer> decodeCommandAnswer(const QByteArray& line);

} // namespace vennic
