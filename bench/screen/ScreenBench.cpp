// A long conversation in the popover while an answer streams into it: what the frames cost. Runs on the X server of
// DISPLAY. Prints lines of name, value and unit.
#include "screen/ScreenFixture.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QTimer>

#include <algorithm>
#include <cstdio>

namespace {

using namespace vennic;

constexpr int messages = 2000;
constexpr int pieces = 1000; // of the answer, a hundred a second

struct World final : test::ScreenFixture {
    void TestBody() override {}
};

void say(const char* name, double value, const char* unit) { std::printf("%s\t%.3f\t%s\n", name, value, unit); }

double part(std::vector<double> values, double share) {
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[static_cast<std::size_t>(static_cast<double>(values.size() - 1) * share)];
}

QString paragraph(int number) {
    return QStringLiteral("Message %1 : une **réponse** de quelques lignes, avec `du code`, un "
                          "[lien](https://exemple.test/%1) et assez de mots pour qu'elle en prenne trois ou quatre.")
        .arg(number);
}

} // namespace

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    QGuiApplication application(argc, argv);
    World world;
    world.appearance.animated = true;
    std::vector<ChatMessage> conversation;
    for (int i = 0; i < messages; ++i)
        conversation.push_back(ChatMessage::make(i % 2 == 0 ? ChatMessage::Role::user : ChatMessage::Role::assistant,
                                                 paragraph(i), world.clock.now()));
    world.session().setMessages(std::move(conversation));
    QElapsedTimer clock;
    clock.start();
    world.popover();
    say("opened", static_cast<double>(clock.nsecsElapsed()) / 1e6, "ms");

    QQuickWindow* const window = world.screen().popover();
    std::vector<double> costs;
    std::vector<double> gaps;
    QElapsedTimer frame;
    QElapsedTimer since;
    QObject::connect(window, &QQuickWindow::afterAnimating, window, [&] { frame.start(); });
    QObject::connect(window, &QQuickWindow::frameSwapped, window, [&] {
        costs.push_back(static_cast<double>(frame.nsecsElapsed()) / 1e6);
        if (since.isValid())
            gaps.push_back(static_cast<double>(since.nsecsElapsed()) / 1e6);
        since.start();
    });
    world.session().setIsStreaming(true);
    world.assistant(QString());
    QString answer;
    int said = 0;
    std::vector<double> takings;
    QTimer stream;
    QObject::connect(&stream, &QTimer::timeout, &stream, [&] {
        // A late timer makes up for what it missed, as a connection does.
        const int due = std::min(pieces, static_cast<int>(clock.elapsed() / 10));
        for (; said < due; ++said) {
            answer += said % 40 == 39 ? QStringLiteral("fin.\n\n") : QStringLiteral("mot%1 ").arg(said);
            QElapsedTimer taking;
            taking.start();
            world.session().setMessageContent(messages, answer);
            takings.push_back(static_cast<double>(taking.nsecsElapsed()) / 1e6);
        }
        if (said == pieces)
            QCoreApplication::quit();
    });
    stream.setTimerType(Qt::PreciseTimer);
    clock.start();
    stream.start(10);
    QCoreApplication::exec();
    const double seconds = static_cast<double>(clock.elapsed()) / 1000;
    say("frames", static_cast<double>(costs.size()) / seconds, "a second");
    say("frame.median", part(costs, 0.5), "ms");
    say("frame.p95", part(costs, 0.95), "ms");
    say("frame.max", part(costs, 1), "ms");
    say("gap.p95", part(gaps, 0.95), "ms");
    say("delta.median", part(takings, 0.5), "ms");
    say("delta.p95", part(takings, 0.95), "ms");
    return 0;
}
