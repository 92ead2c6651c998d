#pragma once
#include "backend/VennicHTTP.h"
#include "base/Clock.h"
#include "localllm/HealthStatus.h"

#include <QStringList>

namespace vennic {

// Questions that the user has asked of the local model's server. Nothing of its answers is longer than what somebody
// would read, and what it said in a test is drawable.

/// What a server says to GET /models.
struct LocalServerAnswer {
    HealthStatus health{};
    QStringList models{}; // the identifiers that it lists, in order
    bool operator==(const LocalServerAnswer&) const = default;
};
/// Asks for the list of models at `url`, with five seconds of patience. Every failure is an answer; raises Cancelled.
Task<LocalServerAnswer> checkLocalServer(VennicHTTP* http, QUrl url);
/// The identifiers in the body of an answer to GET /models; none when it isn't what was asked for. Entries without an
/// identifier are passed over, and so is all beyond the first 200.
QStringList listedModels(const QByteArray& body);

/// What came of having a model say something: one of the two.
struct InferenceTestResult {
    QString output{};
    QString error{};
    bool operator==(const InferenceTestResult&) const = default;
};
/// Has the model that the server at a base address serves say hello. Every failure is a result; raises Cancelled.
Task<InferenceTestResult> testInference(VennicHTTP* http, Clock* clock, QString endpoint, QString model);

} // namespace vennic
