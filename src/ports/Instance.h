#pragma once
#include "base/LocalizedError.h"
#include "base/Task.h"

#include <QByteArray>

#include <chrono>
#include <functional>
#include <optional>

namespace vennic {

/// The client that was asked ended, or refused the request, without an answer: whether it did what it was asked is not
/// known.
class InstanceHungUp : public LocalizedError {
public:
    InstanceHungUp() : LocalizedError(QStringLiteral("Vennic a raccroché avant de répondre.")) {}
};

/// The one running client of this user, and the road to it for every other start of the program.
/// Requests and answers are single lines without a newline: at most 64 KiB to ask, 16 MiB to answer.
class Instance {
public:
    /// Answers one request; its end sends the answer.
    using Handler = std::function<Task<QByteArray>(QByteArray request)>;

    virtual ~Instance() = default;
    /// Takes the place of the only client and answers requests from then on. False when another client holds it.
    /// Raises LocalizedError when the place can't be made at all. Main thread only.
    virtual bool claim(Handler handler) = 0;
    /// Gives up the requests that are still being answered and takes no more; the place stays taken. Main thread only.
    virtual void hangUp() = 0;
    /// Asks the running client and waits for its answer, at most `limit`. None when no client runs. Raises
    /// InstanceHungUp when it hangs up, and LocalizedError when it gives no answer. Needs no event loop.
    virtual std::optional<QByteArray> ask(const QByteArray& request, std::chrono::milliseconds limit) = 0;
};

} // namespace vennic
