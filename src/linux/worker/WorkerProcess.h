#pragma once
#include "base/DocumentWire.h"
#include "linux/FileDescriptor.h"
#include "linux/worker/DocumentWorkerOptions.h"
#include "linux/worker/OpenedDocument.h"
#include "linux/worker/WorkerFailure.h"

#include <QByteArray>

#include <sys/types.h>

namespace vennic {

/// One running document process and the socket to it. It dies with this object, and with the thread that made it.
/// Failures raise WorkerFailure; after one the process is good for nothing and is to be dropped.
class WorkerProcess {
public:
    struct Reply {
        wire::Answer answer;
        QByteArray body; // of the form's shape
    };

    /// Descriptors either of which ends every wait by becoming readable.
    struct Ends {
        int ofLane = -1;
        int ofRequest = -1;
    };

    /// Starts the process and waits until it says that it is boxed.
    WorkerProcess(const DocumentWorkerOptions& options, Ends ends);
    ~WorkerProcess();
    Q_DISABLE_COPY_MOVE(WorkerProcess)

    /// Whether another request can be sent: alive, silent, and not near the processor time at which the system ends it.
    bool isFit() const;
    /// False when the process was gone before it could get the request.
    [[nodiscard]] bool send(const wire::Request& request, const OpenedDocument& document);
    Reply receive(const wire::Request& request, const OpenedDocument& document, qint64 sizeBefore);

private:
    class Patience;

    void start();
    void awaitHello();
    void end();
    bool isAbandoned() const;
    /// Once its socket is closed.
    WorkerFailure::Cause causeOfEnd() const;
    void readExactly(void* data, std::size_t size, const Patience& patience);
    std::chrono::nanoseconds cpuTime() const;

    const DocumentWorkerOptions& options_;
    Ends ends_;
    FileDescriptor socket_;
    pid_t process_ = -1;
};

} // namespace vennic
