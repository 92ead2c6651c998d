#pragma once
#include "base/LocalizedError.h"

#include <QByteArray>

namespace vennic::server {

/// A refusal of a request: the HTTP status and the French sentence of its JSON body {"error": …}.
class HttpError : public LocalizedError {
public:
    HttpError(int statusCode, QString sentence) : LocalizedError(std::move(sentence)), status(statusCode) {}
    int status;
    QByteArray allow;          // value of the Allow header of a 405
    int retryAfterSeconds = 0; // 0: no Retry-After header
};

} // namespace vennic::server
