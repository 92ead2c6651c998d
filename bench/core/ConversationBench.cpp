// What one streamed piece of an answer costs the main thread in a long conversation, store included, beside encoding
// the whole conversation by Qt; and what one costs that the local model streams, from its event on. One line per
// figure: name, value, unit.
#include "Bridge/BridgeWorld.h"
#include "backend/LocalToolChat.h"
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
    CredentialReadResult read(const CredentialItem&, const std::optional<QString>&, const std::stop_token&) override {
        return {};
    }
    CredentialStatus add(const CredentialItem&, const SecretText&, CredentialProtection) override {
        return CredentialStatus::notAvailable;
    }
    CredentialStatus remove(const CredentialItem&) override { return CredentialStatus::itemNotFound; }
    bool canRequireUserPresence() override { return false; }
    QString kind() const override { return QStringLiteral("file"); }
};

constexpr int streamedPieces = 2000;

/// An answer of the local model, a piece at a time, and the time that each took until the next was asked for.
class Streamed final : public HttpStream {
public:
    explicit Streamed(std::vector<double>* times) : times_(times) {}
    std::optional<int> status() const override { return 200; }
    Task<std::optional<QByteArray>> next() override {
        const auto now = Steady::now();
        if (said_ > 0)
            times_->push_back(std::chrono::duration<double, std::milli>(now - handedOver_).count());
        if (said_++ == streamedPieces)
            co_return std::nullopt;
        handedOver_ = Steady::now();
        co_return "data: {\"choices\":[{\"index\":0,\"delta\":{\"content\":\" mot\"}}]}\n\n";
    }

private:
    std::vector<double>* times_;
    int said_ = 0;
    Steady::time_point handedOver_;
};

/// A network on which there is the local model and nobody else.
class ModelAlone final : public HttpTransport {
public:
    Task<HttpResponse> send(HttpRequest) override {
        throw TransportError(TransportFault::noNetwork);
        co_return HttpResponse{};
    }
    Task<std::unique_ptr<HttpStream>> open(HttpRequest) override { co_return std::make_unique<Streamed>(&times); }
    std::vector<double> times; // milliseconds
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

Figures figuresOf(std::vector<double> times) {
    std::sort(times.begin(), times.end());
    return {times[times.size() / 2], times[times.size() * 95 / 100]};
}

template <class F>
Figures milliseconds(int rounds, F round) {
    std::vector<double> times;
    for (int i = 0; i < rounds; ++i) {
        const auto start = Steady::now();
        round();
        times.push_back(std::chrono::duration<double, std::milli>(Steady::now() - start).count());
    }
    return figuresOf(std::move(times));
}

Task<> answered(LocalToolChat* chat) { co_await chat->runDirectLocal(QStringLiteral("question")); }

/// The same as the local model's answers take, piece by piece: reading the event, showing the piece, storing it.
Figures streamed(AppSession& session, VennicHTTP& http, const APIConfig& config, ModelAlone& network) {
    test::BridgeWorld world;
    LocalToolRegistry tools({.store = world.store,
                             .index = world.index,
                             .clock = world.clock,
                             .idCache = world.service->idCache(),
                             .bookmarks = world.bookmarks,
                             .files = world.files,
                             .types = world.types,
                             .reader = world.reader,
                             .recognizer = world.recognizer,
                             .photos = world.photos,
                             .workspace = world.workspace,
                             .automations = world.automations});
    LocalToolChat chat({session, tools, http, config, world.clock});
    session.setIsStreaming(true);
    Scope jobs;
    jobs.start(answered(&chat));
    while (session.isStreaming())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    return figuresOf(std::move(network.times));
}

void measure(std::size_t messages) {
    const QTemporaryDir folder;
    KeyValueStoreSqlite store(folder.filePath(QStringLiteral("preferences.sqlite")));
    ModelAlone network;
    NoBridge bridge;
    NoPreferenceSync preferences;
    NoLocalLLMTelemetry telemetry;
    KeychainStore keychain(std::make_shared<NoCredentials>(), store);
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
    const auto local = streamed(session, http, config, network);
    std::printf("%zu.local.median\t%.4f\tms\n%zu.local.p95\t%.4f\tms\n", messages, local.median, messages, local.high);
    std::printf("%zu.whole.median\t%.4f\tms\n", messages, whole.median);
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    measure(50);
    measure(500);
}
