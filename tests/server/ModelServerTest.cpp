#include "server/ModelServer.h"

#include "server/RunningServer.h"

#include <QFile>

#include <array>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/write.hpp>
#include <gtest/gtest.h>
#include <thread>

using namespace std::chrono_literals;

namespace vennic::server::test {

namespace {
namespace asio = boost::asio;
using asio::ip::tcp;

/// One connection of a server that says given bytes to whatever it is asked.
class Sayer {
public:
    enum class Then { Close, Reset, Stay };
    Sayer(std::string bytes, Then then) : thread_([this, bytes = std::move(bytes), then] { serve(bytes, then); }) {}
    ~Sayer() {
        if (thread_.joinable())
            thread_.join();
    }
    quint16 port() { return acceptor_.local_endpoint().port(); }
    /// What was asked, once the connection has ended.
    QByteArray asked() {
        thread_.join();
        return QByteArray::fromStdString(asked_);
    }

private:
    void serve(const std::string& bytes, Then then) {
        boost::system::error_code error;
        tcp::socket socket(context_);
        acceptor_.accept(socket, error);
        std::size_t head = asio::read_until(socket, asio::dynamic_buffer(asked_), "\r\n\r\n", error);
        const std::size_t at = asked_.find("Content-Length: ");
        const std::size_t whole = head + (at == std::string::npos ? 0 : std::stoul(asked_.substr(at + 16)));
        if (asked_.size() < whole)
            asio::read(socket, asio::dynamic_buffer(asked_), asio::transfer_exactly(whole - asked_.size()), error);
        asio::write(socket, asio::buffer(bytes), error);
        char rest = 0;
        if (then == Then::Stay)
            socket.read_some(asio::buffer(&rest, 1), error);
        if (then == Then::Reset)
            socket.set_option(asio::socket_base::linger(true, 0), error);
        socket.close(error);
    }
    asio::io_context context_;
    tcp::acceptor acceptor_{context_, tcp::endpoint(asio::ip::address_v4::loopback(), 0)};
    std::string asked_;
    std::thread thread_;
};

ModelAddress addressOf(quint16 port) { return modelAddress(QStringLiteral("http://127.0.0.1:%1/v1/").arg(port)); }

struct Heard {
    QString said;
    std::optional<ModelRound> round;
    QString error;
    bool refused = false;
};

Heard infer(const ModelAddress& address, const ModelLimits& limits = {}, bool leavesAtFirstWord = false) {
    Loop loop;
    ModelServer server(loop, address, limits);
    Heard heard;
    std::shared_ptr<void> handle;
    ModelRequest request;
    request.messages = {QJsonObject{{QStringLiteral("role"), QStringLiteral("user")}}};
    handle = server.infer(request, {[&](const QString& delta) {
                                        heard.said += delta;
                                        if (leavesAtFirstWord) {
                                            handle.reset();
                                            loop.post([&] { loop.stop(); });
                                        }
                                    },
                                    [&](const ModelRound& round) {
                                        heard.round = round;
                                        loop.stop();
                                    },
                                    [&](const ModelError& error) {
                                        heard.error = error.errorDescription();
                                        heard.refused = error.refused;
                                        loop.stop();
                                    }});
    loop.run();
    return heard;
}

const std::string head = "HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\n";
const std::string word = R"(data: {"choices":[{"delta":{"content":"Bon"}}]})"
                         "\n\n";
const std::string ended = R"(data: {"choices":[{"delta":{},"finish_reason":"stop"}]})"
                          "\n\n";

std::string chunked(const std::string& text) {
    std::array<char, 20> size{};
    std::snprintf(size.data(), size.size(), "%zx\r\n", text.size());
    return size.data() + text + "\r\n";
}

Heard hearing(const std::string& bytes, Sayer::Then then = Sayer::Then::Close, const ModelLimits& limits = {}) {
    Sayer sayer(bytes, then);
    return infer(addressOf(sayer.port()), limits);
}
const QString cut = QStringLiteral("Le serveur du modèle a coupé avant la fin de sa réponse.");
const QString unreadable = QStringLiteral("La réponse du serveur du modèle n'est pas lisible.");
} // namespace

TEST(ModelServer, asksWithModelKeyAndStream) {
    Sayer sayer(head + "\r\n" + word + ended, Sayer::Then::Close);
    ModelAddress address = addressOf(sayer.port());
    address.model = QStringLiteral("m/1");
    address.key = SecretText("secret");
    const Heard heard = infer(address);
    EXPECT_EQ(heard.said, QStringLiteral("Bon"));
    ASSERT_TRUE(heard.round) << heard.error.toStdString();
    EXPECT_EQ(heard.round->text, QStringLiteral("Bon"));
    const QByteArray asked = sayer.asked();
    EXPECT_TRUE(asked.startsWith("POST /v1/chat/completions HTTP/1.1\r\n")) << asked.constData();
    EXPECT_TRUE(asked.contains("\r\nAuthorization: Bearer secret\r\n"));
    const QJsonObject body = QJsonDocument::fromJson(asked.mid(asked.indexOf("\r\n\r\n") + 4)).object();
    EXPECT_EQ(body.value(QLatin1String("model")), QStringLiteral("m/1"));
    EXPECT_EQ(body.value(QLatin1String("stream")), true);
    EXPECT_FALSE(body.contains(QLatin1String("tools")));
}

TEST(ModelServer, everyWayOfEndingIsUnderstood) {
    const std::string chunkedHead = head + "Transfer-Encoding: chunked\r\n\r\n";
    EXPECT_TRUE(hearing(chunkedHead + chunked(word) + "0\r\n\r\n").round);
    EXPECT_TRUE(hearing(head + "Content-Length: " + std::to_string(word.size()) + "\r\n\r\n" + word).round);
    EXPECT_TRUE(hearing(chunkedHead + chunked(word + "data: [DONE]\n"), Sayer::Then::Stay).round);
    EXPECT_TRUE(hearing(head + "\r\n" + word + ended).round);
}

TEST(ModelServer, aHangUpIsAFailureWhateverCameBefore) {
    const std::string chunkedHead = head + "Transfer-Encoding: chunked\r\n\r\n";
    EXPECT_EQ(hearing("").error, cut);
    EXPECT_EQ(hearing("", Sayer::Then::Reset).error, cut);
    EXPECT_EQ(hearing(chunkedHead + chunked(word)).error, cut);
    EXPECT_EQ(hearing(head + "\r\n" + word).error, cut);
    const Heard heard = hearing(head + "Content-Length: 5000\r\n\r\n" + word);
    EXPECT_EQ(heard.error, cut);
    EXPECT_EQ(heard.said, QStringLiteral("Bon"));
}

TEST(ModelServer, whatIsNoStreamIsUnreadable) {
    EXPECT_EQ(hearing("SSH-2.0-OpenSSH\r\n\r\n").error, unreadable);
    EXPECT_EQ(hearing(head + "Content-Length: 6\r\n\r\n<html>").error, unreadable);
    EXPECT_EQ(hearing("HTTP/1.1 200 OK\r\nX: " + std::string(100'000, 'x') + "\r\n\r\n").error, unreadable);
}

TEST(ModelServer, aRefusalIsSaidWithItsStatusAndWords) {
    const std::string body = R"({"error":{"message":"no *tools*"}})";
    const Heard heard =
        hearing("HTTP/1.1 400 No\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
    EXPECT_EQ(heard.error, QStringLiteral("Le serveur du modèle a refusé la demande (HTTP 400) : no \\*tools\\*"));
    EXPECT_TRUE(heard.refused);
    const Heard other = hearing("HTTP/1.1 401 No\r\n\r\n" + std::string(100'000, '<'));
    EXPECT_EQ(other.error, QStringLiteral("Le serveur du modèle a refusé la demande (HTTP 401)."));
    EXPECT_FALSE(other.refused);
    EXPECT_EQ(hearing("HTTP/1.1 302 Go\r\nLocation: http://example.org/\r\nContent-Length: 0\r\n\r\n").error,
              QStringLiteral("Le serveur du modèle a refusé la demande (HTTP 302)."));
}

TEST(ModelServer, silenceAndSlownessAreBounded) {
    ModelLimits limits;
    limits.silence = 50ms;
    EXPECT_EQ(hearing("", Sayer::Then::Stay, limits).error,
              QStringLiteral("Le serveur du modèle n'a pas répondu à temps."));
    EXPECT_EQ(hearing(head + "\r\n" + word, Sayer::Then::Stay, limits).error,
              QStringLiteral("Le modèle s'est tu au milieu de sa réponse."));
    limits = {};
    limits.whole = 50ms;
    EXPECT_EQ(hearing(head + "\r\n" + word, Sayer::Then::Stay, limits).error,
              QStringLiteral("Le modèle n'a pas fini sa réponse à temps."));
}

TEST(ModelServer, anEndlessAnswerIsCutOff) {
    std::string bytes = head + "\r\n";
    for (int i = 0; i < 40 * 1024; ++i)
        bytes += ":" + std::string(1022, ' ') + "\n";
    EXPECT_EQ(hearing(bytes, Sayer::Then::Stay).error, QStringLiteral("La réponse du modèle est trop longue."));
}

TEST(ModelServer, aServerThatIsNotThereIsUnreachable) {
    quint16 port = 0;
    {
        Sayer sayer("", Sayer::Then::Close);
        port = sayer.port();
        infer(addressOf(port));
    }
    EXPECT_EQ(infer(addressOf(port)).error, QStringLiteral("Le serveur du modèle est injoignable."));
}

TEST(ModelServer, aCertificateThatNobodyVouchesForIsRefused) {
    const RunningServer server;
    const Heard heard = infer(modelAddress(QStringLiteral("https://localhost:%1/v1").arg(server.port())));
    EXPECT_EQ(
        heard.error,
        QStringLiteral("La connexion sécurisée au serveur du modèle a échoué : son certificat n'est pas reconnu."));
}

TEST(ModelServer, whoLeavesClosesTheConnection) {
    Sayer sayer(head + "\r\n" + word, Sayer::Then::Stay);
    const Heard heard = infer(addressOf(sayer.port()), {}, true);
    EXPECT_FALSE(heard.round);
    EXPECT_EQ(heard.error, QString());
    EXPECT_TRUE(sayer.asked().startsWith("POST ")); // it waits for the connection's end
}

TEST(ModelAddress, isHttpsOrThisMachine) {
    const ModelAddress address = modelAddress(QStringLiteral("https://Modele.exemple/v1/"));
    EXPECT_EQ(address.host, QStringLiteral("modele.exemple"));
    EXPECT_EQ(address.port, 443);
    EXPECT_TRUE(address.tls);
    EXPECT_EQ(address.path, QByteArray("/v1/chat/completions"));
    EXPECT_EQ(modelAddress(QStringLiteral("http://[::1]:8080")).port, 8080);
    EXPECT_FALSE(modelAddress(QStringLiteral("http://localhost/v1")).tls);
    for (const char* url : {"", "modele.exemple", "http://modele.exemple/v1", "http://127.0.0.1.exemple/",
                            "http://localhost.exemple/", "ftp://localhost/", "https://a:b@exemple/",
                            "https://exemple/?a=b", "https://exemple/#a", "https://", "https://ex emple/"})
        EXPECT_THROW(modelAddress(QString::fromUtf8(url)), LocalizedError) << url;
}

TEST(ModelAddress, aKeyIsOneLineOfPrintableCharacters) {
    QTemporaryDir folder;
    const auto keyOf = [&](const QByteArray& bytes) {
        QFile file(folder.filePath(QStringLiteral("key")));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        file.close();
        return modelKeyIn(file.fileName());
    };
    EXPECT_EQ(keyOf("sk-1 \n"), SecretText("sk-1"));
    for (const QByteArray& bytes : {QByteArray(), QByteArray(" \n"), QByteArray("a\r\nX: b"), QByteArray("é"),
                                    QByteArray(9000, 'x'), QByteArray("a b")})
        EXPECT_THROW(keyOf(bytes), LocalizedError);
    EXPECT_THROW(modelKeyIn(folder.filePath(QStringLiteral("none"))), LocalizedError);
}

} // namespace vennic::server::test
