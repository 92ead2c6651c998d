#pragma once
#include "ports/Instance.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <functional>

namespace vennic {

/// One asker on the client's socket: reads one line, has it answered, writes the answer, ends. A line that is too
/// long, or that takes more than ten seconds to arrive, ends it without an answer.
class InstanceConnection {
public:
    using Ended = std::function<void(InstanceConnection*)>;

    InstanceConnection(int descriptor, Instance::Handler handler, Ended ended);
    InstanceConnection(const InstanceConnection&) = delete;
    InstanceConnection& operator=(const InstanceConnection&) = delete;
    virtual ~InstanceConnection();

private:
    void read();
    void write();
    void end();
    Task<> answer(QByteArray request);

    int descriptor_;
    Instance::Handler handler_;
    Ended ended_;
    QByteArray received_;
    QByteArray pending_;
    QObject context_; // drops a queued end when this goes first
    QTimer patience_;
    QSocketNotifier readable_;
    QSocketNotifier writable_;
    Scope scope_;
};

} // namespace vennic
