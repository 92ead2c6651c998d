#pragma once
#include <QList>
#include <QString>

namespace vennic::server {

/// Counts failed attempts of the last minute: 10 for one address, 100 for all of them together.
class AttemptLimit {
public:
    bool isExhausted(const QString& address, qint64 now);
    void failed(const QString& address, qint64 now);

private:
    struct Failure {
        QString address;
        qint64 at;
    };
    void forgetOld(qint64 now);
    QList<Failure> failures_; // oldest first, never more than the common limit
};

} // namespace vennic::server
