#include "app/RuntimeVerbs.h"

#include "linux/SignalWatch.h"
#include "linux/Terminal.h"
#include "localllm/OutputLines.h"

#include <QEventLoop>
#include <QJsonArray>
#include <QTimer>

namespace vennic {

namespace {

QJsonObject componentsData(const LocalLLMInstaller::Status& status) {
    QJsonArray components;
    for (const auto& component : status.components)
        components.append(QJsonObject{
            {QStringLiteral("id"), component.id},
            {QStringLiteral("label"), component.label},
            {QStringLiteral("installed"), component.installed},
            {QStringLiteral("detail"), component.detail ? QJsonValue(*component.detail) : QJsonValue::Null}});
    return {{QStringLiteral("components"), components}};
}

QString componentsText(const LocalLLMInstaller::Status& status) {
    QStringList lines;
    for (const auto& component : status.components) {
        const QString found = component.installed ? component.detail.value_or(QString()) : QStringLiteral("absent");
        lines.append((component.installed ? QStringLiteral("✓ ") : QStringLiteral("✗ ")) + component.label +
                     QStringLiteral(" : ") + found);
    }
    return lines.join(u'\n');
}

CommandAnswer failed(const QString& reason) { return {ExitStatus::failed, {}, {}, reason}; }

Task<CommandAnswer> perform(LocalLLMInstaller* installer, QStringList words, LocalLLMInstaller::OnLine onLine) {
    if (words[0] == QLatin1String("install")) {
        // The server is told a model with each request, so none is needed here.
        co_await installer->install({}, std::move(onLine));
        co_return CommandAnswer{ExitStatus::done, {}, componentsData(installer->detect())};
    }
    if (words[0] == QLatin1String("download")) {
        co_await installer->downloadModel(words[1], std::move(onLine));
        co_return CommandAnswer{ExitStatus::done, {}, {{QStringLiteral("model"), words[1]}}};
    }
    const LocalLLMInstaller::Status status = installer->detect();
    co_return CommandAnswer{ExitStatus::done, componentsText(status), componentsData(status)};
}

/// Keeps the end of `performing`, whatever it is, and ends the loop.
Task<> performIn(QEventLoop* loop, Task<CommandAnswer> performing, CommandAnswer* answer) {
    try {
        *answer = co_await performing;
    } catch (const Cancelled&) {
        *answer = failed(QStringLiteral("Interrompu."));
    } catch (const LocalizedError& error) {
        *answer = failed(error.errorDescription());
    }
    loop->quit();
}

} // namespace

bool isRuntimeVerb(const QStringList& words) {
    static const QStringList all{QStringLiteral("detect"), QStringLiteral("install"), QStringLiteral("download")};
    return all.contains(words.value(0));
}

CommandAnswer runRuntimeVerb(const QStringList& words, bool json, LocalLLMInstaller& installer,
                             std::chrono::milliseconds reloadPatience) {
    const LocalLLMInstaller::OnLine onLine = [json](const QString& line) {
        const QString shown = settledLine(line) + u'\n';
        json ? writeError(shown) : writeOutput(shown);
    };
    CommandAnswer answer;
    QEventLoop loop;
    Scope scope;
    Job job = scope.start(performIn(&loop, perform(&installer, words, onLine), &answer));
    bool isEnding = false;
    const SignalWatch endings([&] {
        if (std::exchange(isEnding, true))
            return installer.giveUpReload();
        job.cancel();
        if (!installer.isReloading())
            return;
        writeError(QStringLiteral("Le serveur est d'abord relancé ; une deuxième interruption y renonce.\n"));
        QTimer::singleShot(reloadPatience, &loop, [&installer] { installer.giveUpReload(); });
    });
    loop.exec();
    return answer;
}

} // namespace vennic
