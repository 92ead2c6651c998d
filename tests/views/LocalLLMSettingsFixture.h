#pragma once
#include "core/SessionFixture.h"
#include "support/LocalRuntimeWorld.h"

namespace vennic::test {

inline const QString usualModel = QStringLiteral("Qwen/Qwen3-14B-MLX-4bit"); // what a new session has
inline const QString smallModel = QStringLiteral("mlx-community/Qwen3-4B-4bit");

/// The local model's settings with a server, a backend and a service manager that do as they are told.
struct LocalLLMSettingsFixture : SessionFixture {
    LocalRuntimeWorld world;
    TestClock clock;
    int status = 200;                                          // of the server
    QByteArray models = R"({"data":[{"id":"a"},{"id":"b"}]})"; // what it lists
    QByteArray catalogue;                                      // of the backend; empty while it can't be reached
    std::shared_ptr<Event<>> never;                            // what hangs awaits it
    std::unique_ptr<LocalLLMSettingsView> own;

    LocalLLMSettingsFixture() {
        transport.responder = [this](const HttpRequest& request) -> HttpTransportFake::Outcome {
            if (request.url.path().endsWith(QStringLiteral("catalog.json"))) {
                if (catalogue.isEmpty())
                    return TransportFault::noNetwork;
                return HttpResponse{200, {}, catalogue};
            }
            if (request.url.path().endsWith(QStringLiteral("/completions")))
                return HttpResponse{200, {}, R"({"choices":[{"message":{"content":"Bonjour"}}]})"};
            return HttpResponse{status, {}, models};
        };
    }

    LocalLLMSettingsView& view() {
        if (!own)
            own = std::make_unique<LocalLLMSettingsView>(world.surroundings(session(), http, config, clock));
        return *own;
    }
    /// Runs to where nothing goes on by itself.
    void rest() { settle(); }
    void until(const std::function<bool()>& done) { ASSERT_TRUE(waitUntil(done)); }
    /// Lets the service's label become free.
    void passReload() {
        until([this] { return clock.sleeping() > 0; });
        clock.advance(std::chrono::milliseconds{500});
        rest();
    }
    void shown() {
        view().appear();
        until([this] { return view().healthStatus() == HealthStatus::ok(); });
        transport.requests.clear();
    }
    std::size_t checks() const {
        return static_cast<std::size_t>(std::ranges::count_if(transport.requests, [](const HttpRequest& request) {
            return request.url.path().endsWith(QStringLiteral("/models"));
        }));
    }
    void hangs(const QString& command) {
        never = std::make_shared<Event<>>();
        world.programs.scripts[command].awaited = never;
    }
};

} // namespace vennic::test
