#pragma once
#include "app/CommandLine.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <optional>

namespace vennic {

/// A verb on its way to the running client. `secret` carries what came by standard input.
struct CommandRequest {
    QString verb;
    QStringList arguments;
    QString secret;
    bool operator==(const CommandRequest&) const = default;
};

/// What the client answers: data for --json and a text for people, or an error.
struct CommandAnswer {
    ExitStatus status = ExitStatus::done;
    QString text;
    QJsonObject data;
    bool operator==(const CommandAnswer&) const = default;
};

QByteArray encodeCommandRequest(const CommandRequest& request);
/// None when the line is not a request.
std::optional<CommandRequest> decodeCommandRequest(const QByteArray& line);

QByteArray encodeCommandAnswer(const CommandAnswer& answer);
/// None when the line is not an answer.
std::optional<CommandAnswer> decodeCommandAnswer(const QByteArray& line);

} // namespace vennic
