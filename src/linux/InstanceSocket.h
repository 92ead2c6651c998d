#pragma once
#include "linux/FileDescriptor.h"
#include "ports/Instance.h"

#include <QSocketNotifier>
#include <QString>

#include <list>
#include <memory>

namespace vennic {

/// The client's place is a locked file, the road to it a socket beside it (0600, in a folder of mode 0700). Only
/// processes of the same user are heard.
class InstanceSocket final : public Instance {
public:
    /// `directory` holds "socket" and "lock" and is made when missing.
    explicit InstanceSocket(QString directory);
    InstanceSocket(const InstanceSocket&) = delete;
    InstanceSocket& operator=(const InstanceSocket&) = delete;
    ~InstanceSocket() override;

    bool claim(Handler handler) override;
    void hangUp() override;
    std::optional<QByteArray> ask(const QByteArray& request, std::chrono::milliseconds limit) override;

    QString socketPath() const;

private:
    class Connection;
    void makeDirectory() const;
    void listen();
    void accept();
    void drop(Connection* connection);

    QString directory_;
    Handler handler_;
    FileDescriptor lock_;
    FileDescriptor listener_;
    std::unique_ptr<QSocketNotifier> incoming_;
    std::list<std::unique_ptr<Connection>> connections_;
};

} // namespace vennic
