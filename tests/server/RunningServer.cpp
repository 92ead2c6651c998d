#include "server/RunningServer.h"

#include <QDateTime>
#include <QFile>
#include <QJsonArray>

#include <stdexcept>

namespace vennic::server::test {

RunningServer::RunningServer(const std::function<void(Options&)>& adjust) {
    options_.data = folder();
    if (adjust)
        adjust(options_);
    start();
}

RunningServer::~RunningServer() { stop(); }

void RunningServer::start() {
    server_ =
        std::make_unique<Server>(options_, [this] { return QDateTime::currentMSecsSinceEpoch() + offset_.load(); });
    thread_ = std::thread([this] { server_->run(); });
}

void RunningServer::stop() {
    if (!server_)
        return;
    server_->stop();
    thread_.join();
    server_.reset();
}

void RunningServer::restart() {
    stop();
    start();
}

QByteArray RunningServer::ownerField() const {
    QFile file(folder() + QStringLiteral("/owner.key"));
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error("owner.key");
    return "X-Owner-Key: " + file.readAll().trimmed() + "\r\n";
}

Answer RunningServer::owner(const QByteArray& method, const QByteArray& target, const QByteArray& body) const {
    return connect().request(method, target, ownerField(), body);
}

QByteArray RunningServer::pair() const {
    const QByteArray code = owner("POST", "/owner/pairings").text("code");
    const Answer claimed = connect().request("POST", "/api/v1/pairings/claim", {},
                                             R"({"client_kind":"mac","pairing_code":")" + code + R"("})");
    return claimed.text("user_token");
}

QByteArray RunningServer::submit(const QByteArray& device, const QByteArray& kind, const QByteArray& more) const {
    const Answer answer =
        owner("POST", "/owner/tasks",
              R"({"unchecked":true,"device_id":")" + device + R"(","kind":")" + kind + '"' + more + '}');
    if (answer.status != 201)
        throw std::runtime_error(answer.body.toStdString());
    return answer.text("id");
}

QJsonObject RunningServer::task(const QByteArray& id, int wait) const {
    return owner("GET", "/owner/tasks/" + id + "?wait=" + QByteArray::number(wait)).json();
}

void RunningServer::awaitPoll(const QByteArray& device) const {
    TlsPeer peer = connect();
    for (;;) {
        const Answer answer = peer.request("GET", "/owner/machines", ownerField());
        for (const QJsonValue& each : QJsonDocument::fromJson(answer.body).array()) {
            const QJsonObject machine = each.toObject();
            if (machine.value(QLatin1String("device_id")).toString().toUtf8() == device &&
                machine.value(QLatin1String("connected")).toBool())
                return;
        }
        if (answer.status != 200)
            throw std::runtime_error("owner/machines");
    }
}

QByteArray clientFields(const QByteArray& token, const QByteArray& device) {
    return "X-User-Token: " + token + "\r\n" +
           (device.isEmpty() ? QByteArray{}
                             : "X-Bridge-Device-Id: " + device + "\r\nX-Bridge-Device-Nickname: Portable\r\n");
}

} // namespace vennic::server::test
