#include "Bridge/ScreenControlBridgeHandler.h"

#include "Bridge/ApplicationNotFound.h"
#include "Bridge/ShortcutsCLIError.h"
#include "base/Pool.h"

#include <algorithm>
#include <tuple>

namespace vennic {

namespace {

const QLatin1String entryEnding(".desktop");
constexpr qsizetype longestName = 1024; // UTF-16 units; a file's name has at most 255 bytes

/// A name is never a path, and nothing in it can end a line or an argument early.
bool isPlainName(const QString& name) {
    const auto isOdd = [](QChar c) { return c == u'/' || c.category() == QChar::Other_Control; };
    return !name.isEmpty() && name.size() <= longestName && std::ranges::none_of(name, isOdd);
}

/// Whether the file lies one folder below a folder of what was installed. The user's own folder and the subfolders of
/// the system's are left out.
bool isInSubfolder(const Application& application, const QString& fileName) {
    const qsizetype slash = application.pathInFolder.indexOf(u'/');
    return application.place == Application::Place::installed && slash >= 0 &&
           QStringView(application.pathInFolder).sliced(slash + 1) == fileName;
}

/// What one kind answers, encoded where it is made: an automation may write as much as it likes, and the main thread
/// has better to do than to escape it.
struct Outcome {
    QByteArray body;
    bool isError = false;
};

Outcome succeeded(const BridgeResult& result) { return {encodeBridgeSuccessBody(result), false}; }

Outcome failed(const QString& sentence) { return {encodeBridgeErrorBody(sentence), true}; }

Outcome openNamed(const std::stop_token& stop, const ScreenControlBridgeHandler& handler, const QString& name) {
    BridgeOkResult result;
    try {
        handler.openApp(name, stop);
        result.ok = true;
    } catch (const std::exception& error) {
        result.error = localizedDescription(error);
    }
    return succeeded(result);
}

Outcome runNamed(const std::stop_token& stop, const ScreenControlBridgeHandler& handler, const ShortcutRunArgs& args) {
    try {
        const QString text = handler.runShortcutsCLI({QStringLiteral("run"), args.name}, args.input, stop);
        return succeeded(BridgeShortcutRunResult{text.isEmpty() ? std::nullopt : std::optional(text)});
    } catch (const std::exception& error) {
        return failed(ScreenControlBridgeHandler::shortcutRunFailed(error));
    }
}

QStringView withoutBlanks(QStringView line) {
    const auto isBlank = [](QChar c) { return c == u' ' || c == u'\t'; };
    while (!line.isEmpty() && isBlank(line.front()))
        line = line.sliced(1);
    while (!line.isEmpty() && isBlank(line.back()))
        line.chop(1);
    return line;
}

Outcome listAll(const std::stop_token& stop, const ScreenControlBridgeHandler& handler) {
    try {
        const QString text = handler.runShortcutsCLI({QStringLiteral("list")}, std::nullopt, stop);
        BridgeShortcutListResult result;
        for (const QStringView line : QStringView(text).split(u'\n')) {
            if (const QStringView name = withoutBlanks(line); !name.isEmpty())
                result.shortcuts.append(name.toString());
        }
        return succeeded(result);
    } catch (const std::exception& error) {
        return failed(ScreenControlBridgeHandler::shortcutListFailed(error));
    }
}

Task<> answer(BridgeTask task, Outcome outcome, APIService api) {
    if (outcome.isError) {
        co_await TaskAnswer::encodedError(std::move(api), task.id, std::move(outcome.body));
        co_return;
    }
    const TaskAnswer dropping([](const QString&) {});
    co_await dropping.encodedSuccess(std::move(api), task.id, std::move(outcome.body));
}

} // namespace

Task<> ScreenControlBridgeHandler::handleOpenApp(BridgeTask task, AppOpenArgs args, APIService api) const {
    Outcome outcome = co_await onPoolWaiting(openNamed, *this, args.name);
    co_await answer(std::move(task), std::move(outcome), std::move(api));
}

Task<> ScreenControlBridgeHandler::handleRunShortcut(BridgeTask task, ShortcutRunArgs args, APIService api) const {
    Outcome outcome = co_await onPoolWaiting(runNamed, *this, std::move(args));
    co_await answer(std::move(task), std::move(outcome), std::move(api));
}

Task<> ScreenControlBridgeHandler::handleListShortcuts(BridgeTask task, APIService api) const {
    Outcome outcome = co_await onPoolWaiting(listAll, *this);
    co_await answer(std::move(task), std::move(outcome), std::move(api));
}

void ScreenControlBridgeHandler::openApp(const QString& name, std::stop_token stop) const {
    const auto application = locateApp(name);
    if (!application)
        throw ApplicationNotFound(name);
    workspace_->openApplication(application->path, std::move(stop));
}

QString ScreenControlBridgeHandler::shortcutRunFailed(const std::exception& error) {
    return QStringLiteral("shortcut_run_failed: ") + localizedDescription(error);
}

QString ScreenControlBridgeHandler::shortcutListFailed(const std::exception& error) {
    return QStringLiteral("shortcut_list_failed: ") + localizedDescription(error);
}

std::optional<FileURL> ScreenControlBridgeHandler::locateApp(const QString& name) const {
    if (!isPlainName(name))
        return std::nullopt;
    const QString fileName = name.endsWith(entryEnding) ? name : name + entryEnding;
    // An identifier names one entry at most, and that of an entry directly in its folder is its file's name. Names are
    // free, and desktops bring applications of the same name: the menus' one comes first, then the order is the
    // alphabet's, so that the same name leads to the same application each time.
    const auto rank = [&](const Application& application) -> std::optional<int> {
        if (application.identifier == fileName)
            return 0;
        if (isInSubfolder(application, fileName))
            return 1;
        if (application.localizedName == name || application.name == name)
            return application.isShown ? 2 : 3;
        return std::nullopt;
    };
    std::optional<std::tuple<int, QString>> best;
    for (const Application& application : workspace_->applications()) {
        const auto its = rank(application);
        if (its && (!best || std::tuple(*its, application.entry) < *best))
            best.emplace(*its, application.entry);
    }
    return best ? std::optional(FileURL{std::get<QString>(*best)}) : std::nullopt;
}

QString ScreenControlBridgeHandler::runShortcutsCLI(const QStringList& args, const std::optional<QString>& input,
                                                    std::stop_token stop) const {
    const auto text = [](const QByteArray& bytes) {
        return bytes.isValidUtf8() ? QString::fromUtf8(bytes).trimmed() : QString();
    };
    const auto bytes = input ? std::optional(input->toUtf8()) : std::nullopt;
    const AutomationRun run = automations_->run(args, bytes, std::move(stop));
    if (run.status != 0)
        throw ShortcutsCLIError(run.status, text(run.error));
    return text(run.output);
}

} // namespace vennic
