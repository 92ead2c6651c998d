#pragma once
#include "server/Server.h"
#include "server/TlsPeer.h"

#include <QTemporaryDir>

#include <atomic>
#include <thread>

namespace vennic::server::test {

/// The whole server on a thread of its own, in a folder of its own, with a date that can be moved.
class RunningServer {
public:
    explicit RunningServer(const std::function<void(Options&)>& adjust = {});
    ~RunningServer();
    TlsPeer connect() const { return {port(), folder_.filePath(QStringLiteral("data/ca.pem"))}; }
    quint16 port() const { return server_->port(); }
    QString folder() const { return folder_.filePath(QStringLiteral("data")); }
    /// Ends the server as SIGTERM would, and starts another one in the same folder.
    void restart();
    void stop();
    void start();
    void moveDate(std::chrono::milliseconds by) { offset_ += by.count(); }

    QByteArray ownerField() const;
    /// A request by the owner.
    Answer owner(const QByteArray& method, const QByteArray& target, const QByteArray& body = {}) const;
    /// A new client's token, by the real pairing.
    QByteArray pair() const;
    /// Files a task; its id.
    QByteArray submit(const QByteArray& device, const QByteArray& kind, const QByteArray& more = {}) const;
    /// The task as the owner sees it, once `wait` seconds have passed or it is finished.
    QJsonObject task(const QByteArray& id, int wait = 0) const;
    /// Waits until the owner sees the machine's poll.
    void awaitPoll(const QByteArray& device) const;

private:
    QTemporaryDir folder_;
    Options options_;
    std::atomic<qint64> offset_{0};
    std::unique_ptr<Server> server_;
    std::thread thread_;
};

/// The fields of a client's request.
QByteArray clientFields(const QByteArray& token, const QByteArray& device = {});

} // namespace vennic::server::test
