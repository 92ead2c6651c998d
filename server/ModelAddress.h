#pragma once
#include "base/SecretText.h"

#include <QString>

namespace vennic::server {

/// Where an OpenAI-compatible server answers, and what it is told about the asker.
struct ModelAddress {
    QString host;
    quint16 port = 0;
    bool tls = true;
    QByteArray path; // of the chat completions
    QString model;   // that is asked for; empty: what the asker would like
    SecretText key;  // may be empty
};

/// Reads a base address such as "https://api.example.org/v1": https, or http to this machine itself. Raises
/// LocalizedError.
ModelAddress modelAddress(const QString& url);
/// Reads the key out of a file, of which it is the only line. Raises LocalizedError.
SecretText modelKey(const QString& file);

} // namespace vennic::server
