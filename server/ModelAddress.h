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
/// A key that may go into a header, on one line. Raises LocalizedError.
SecretText modelKey(const SecretText& text);
/// Reads the key out of a file, of which it is the only line. Raises LocalizedError.
SecretText modelKeyIn(const QString& file);
/// A name that may be asked for, or none. Raises LocalizedError.
QString modelName(const QString& text);

} // namespace vennic::server
