#pragma once
#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

#include <memory>

namespace vennic::server::test {

struct Answer {
    int status = 0; // 0: the server closed without an answer
    QByteArray head;
    QByteArray body;
    QJsonObject json() const { return QJsonDocument::fromJson(body).object(); }
    /// A text of the answer's object; empty where there is none.
    QByteArray text(const char* name) const { return json().value(QLatin1String(name)).toString().toUtf8(); }
    QString error() const { return json().value(QLatin1String("error")).toString(); }
};

/// A blocking TLS connection to the server that checks its certificate, and that can also misbehave.
class TlsPeer {
public:
    /// `authority` is the folder's ca.pem.
    TlsPeer(quint16 port, const QString& authority);
    ~TlsPeer();
    TlsPeer(TlsPeer&&) noexcept;
    /// False when the server has closed.
    bool send(const QByteArray& bytes);
    /// The next answer by its Content-Length.
    Answer read();
    /// Everything until the server closes.
    QByteArray readToEnd();
    /// Reads until `text` has come, and gives all that has come.
    QByteArray readUntil(const QByteArray& text);
    Answer request(const QByteArray& method, const QByteArray& target, const QByteArray& fields = {},
                   const QByteArray& body = {});
    /// Ends without a word of farewell: a reset.
    void hangUp();

private:
    bool fill();
    struct Session;
    std::unique_ptr<Session> session_;
    QByteArray buffer_;
};

/// The text of a request, its fields ending in CRLF each.
QByteArray requestText(const QByteArray& method, const QByteArray& target, const QByteArray& fields,
                       const QByteArray& body);

} // namespace vennic::server::test
