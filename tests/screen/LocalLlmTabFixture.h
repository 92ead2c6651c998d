#pragma once
#include "screen/SettingsWindowFixture.h"

namespace vennic::test {

inline const QString usual = QStringLiteral("Qwen/Qwen3-14B-MLX-4bit");
inline const QString small = QStringLiteral("mlx-community/Qwen3-4B-4bit");

/// The tab of the local model, driven by the keyboard alone.
struct LocalLlmTabFixture : SettingsWindowFixture {
    int status = 200;
    std::shared_ptr<Event<>> never = std::make_shared<Event<>>();

    LocalLlmTabFixture() {
        transport.responder = [this](const HttpRequest& request) -> HttpTransportFake::Outcome {
            if (request.url.path().endsWith(QStringLiteral("catalog.json")))
                return TransportFault::noNetwork;
            if (request.method == "POST")
                return HttpResponse{200, {}, R"({"choices":[{"message":{"content":"Bonjour, ravi de t'aider !"}}]})"};
            return HttpResponse{
                status, {}, R"({"data":[{"id":"Qwen/Qwen3-14B-MLX-4bit"},{"id":"mlx-community/Qwen3-4B-4bit"}]})"};
        };
    }
    void openTab() {
        open("localLlm");
        ASSERT_TRUE(waitUntil([this] {
            return tab().health() != LocalLLMSettingsView::Health::unknown &&
                   tab().health() != LocalLLMSettingsView::Health::checking;
        }));
        paint();
    }
    LocalLLMSettingsView& tab() { return *settings->localLlm(); }
    void space() { key(Qt::Key_Space, Qt::NoModifier, QStringLiteral(" ")); }
    void until(const std::function<bool()>& done) {
        ASSERT_TRUE(waitUntil(done));
        paint();
    }
    QString log() { return find("log")->property("text").toString(); }
    QQuickItem* flick() { return find("log")->parentItem()->parentItem(); }
    /// Begins an installation that hangs after these lines.
    void installs(const QByteArray& output) {
        runtime.haveTools();
        runtime.programs.scripts[runtime.installServer()] = {.pieces = {output}, .awaited = never};
        tab().runInstall();
        until([this] { return !runtime.programs.started.empty(); });
    }
    static QByteArray lines(int from, int to) {
        QByteArray output;
        for (int i = from; i < to; ++i)
            output += "ligne " + QByteArray::number(i) + " de ce que dit l'outil\n";
        return output;
    }
    /// Everything that the window shows, as words.
    static void gather(QQuickItem* in, QStringList& words) {
        if (!in->isVisible())
            return;
        if (const QString text = in->property("text").toString(); !text.isEmpty())
            words.append(text);
        for (QQuickItem* const child : in->childItems())
            gather(child, words);
    }
    QStringList words() {
        QStringList all;
        gather(window().contentItem(), all);
        return all;
    }
};

} // namespace vennic::test
