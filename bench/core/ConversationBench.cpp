// What one streamed piece of an answer costs the main thread in a long conversation, store included, beside encoding
// the whole conversation by Qt. One line per figure: name, value, unit.
#include "core/AppSession.h"
#include "linux/KeyValueStoreSqlite.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>

namespace {

using namespace vennic;
using Steady = std::chrono::steady_clock;

class NoCredentials final : public CredentialStore {
public:
    CredentialReadResult read(const CredentialItem&, const std::optional<QString>&) override { return {}; }
    CredentialStatus add(const CredentialItem&, const SecretText&, CredentialProtection) override {
        return CredentialStatus::notAvailable;
    }
    CredentialStatus remove(const CredentialItem&) override { return CredentialStatus::itemNotFound; }
    bool canRequireUserPresence() override { return false; }
    QString kind() const override { return QStringLiteral("file"); }
};

class NoNetwork final : public HttpTransport {
public:
    Task<HttpResponse> send(HttpRequest) override {
        throw TransportError(TransportFault::noNetwork);
        co_return HttpResponse{};
    }
    Task<std::unique_ptr<HttpStream>> open(HttpRequest) override {
        throw TransportError(TransportFault::noNetwork);
        co_return nullptr;
    }
};

class NoBridge final : public BridgeControl {
public:
    void start(SecretText) override {}
    void stop() override {}
};

struct Figures {
    double median = 0;
    double high = 0; // 95 of 100 are below
};

template <class F>
Figures milliseconds(int rounds, F round) {
    std::vector<double> times;
    for (int i = 0; i < rounds; ++i) {
        const auto start = Steady::now();
        round();
        times.push_back(std::chrono::duration<double, std::milli>(Steady::now() - start).count());
    }
    std::sort(times.begin(), times.end());
    return {times[times.size() / 2], times[times.size() * 95 / 100]};
}

void measure(std::size_t messages) {
    const QTemporaryDir folder;
    KeyValueStoreSqlite store(folder.filePath(QStringLiteral("preferences.sqlite")));
    NoCredentials credentials;
    NoNetwork network;
    NoBridge bridge;
    NoPreferenceSync preferences;
    NoLocalLLMTelemetry telemetry;
    KeychainStore keychain(credentials, store);
    VennicHTTP http(network, QStringLiteral("localhost"), nullptr);
    const APIConfig config(store, {});
    AppSession session({store, keychain, http, config, bridge, preferences, telemetry, {}});

    const auto now = QDateTime::currentDateTimeUtc();
    const QString line = QStringLiteral("Voilà la « facture » : 12 €, à régler avant le 3.\n");
    std::vector<ChatMessage> conversation;
    conversation.reserve(messages);
    for (std::size_t i = 0; i < messages; ++i)
        conversation.push_back(ChatMessage::make(ChatMessage::Role::assistant, line.repeated(38), now));
    session.setMessages(conversation);
    const auto bytes = storedAs<QByteArray>(store, PreferenceKey::chatMessages).value_or(QByteArray()).size();

    QString last = conversation.back().content;
    const auto delta = milliseconds(2000, [&] {
        last += QStringLiteral(" mot");
        session.setMessageContent(messages - 1, last);
    });
    const auto whole = milliseconds(20, [&] {
        QJsonArray array;
        for (const ChatMessage& message : session.messages())
            array.append(QJsonObject{{QStringLiteral("content"), message.content}});
        QJsonDocument(array).toJson(QJsonDocument::Compact);
    });
    std::printf("%zu.bytes\t%lld\tbytes\n", messages, static_cast<long long>(bytes));
    std::printf("%zu.delta.median\t%.4f\tms\n%zu.delta.p95\t%.4f\tms\n", messages, delta.median, messages, delta.high);
    std::printf("%zu.whole.median\t%.4f\tms\n", messages, whole.median);
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    measure(50);
    measure(500);
}
