#include "Bridge/ScreenControlBridgeHandler.h"

#include "Bridge/ApplicationNotFound.h"
#include "Bridge/ShortcutsCLIError.h"
#include "base/Pool.h"

#include <algorithm>
#include <tuple>
#include <variant>

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

QStringView withoutBlanks(QStringView line) {
    const auto isBlank = [](QChar c) { return c == u' ' || c == u'\t'; };
    while (!line.isEmpty() && isBlank(line.front()))
        line = line.sliced(1);
    while (!line.isEmpty() && isBlank(line.back()))
        line.chop(1);
    return line;
}

BridgeShortcutListResult shortcutsIn(const QString& text) {
    BridgeShortcutListResult result;
    for (const QStringView line : QStringView(text).split(u'\n')) {
        if (const QStringView name = withoutBlanks(line); !name.isEmpty())
            result.shortcuts.append(name.toString());
    }
    return result;
}

/// The road to the answer of one kind: a result, or the sentence of an error body.
using Outcome = std::variant<BridgeResult, QString>;

Task<> answer(BridgeTask task, Outcome outcome, APIService api) {
    if (const auto* failure = std::get_if<QString>(&outcome)) {
        co_await TaskAnswer::error(std::move(api), task.id, *failure);
        co_return;
    }
    const TaskAnswer dropping([](const QString&) {});
    co_await dropping.success(std::move(api), task.id, std::get<BridgeResult>(std::move(outcome)));
}

} // namespace

Task<> ScreenControlBridgeHandler::handleOpenApp(BridgeTask task, AppOpenArgs args, APIService api) const {
    BridgeOkResult result;
    try {
        co_await openApp(args.name);
        result.ok = true;
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& error) {
        result.error = localizedDescription(error);
    }
    co_await answer(std::move(task), std::move(result), std::move(api));
}

Task<> ScreenControlBridgeHandler::handleRunShortcut(BridgeTask task, ShortcutRunArgs args, APIService api) const {
    Outcome outcome;
    try {
        const QString text = co_await runShortcuts({QStringLiteral("run"), args.name}, args.input);
        outcome = BridgeShortcutRunResult{text.isEmpty() ? std::nullopt : std::optional(text)};
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& error) {
        outcome = shortcutRunFailed(error);
    }
    co_await answer(std::move(task), std::move(outcome), std::move(api));
}

Task<> ScreenControlBridgeHandler::handleListShortcuts(BridgeTask task, APIService api) const {
    Outcome outcome;
    try {
        outcome = shortcutsIn(co_await runShortcuts({QStringLiteral("list")}, std::nullopt));
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& error) {
        outcome = shortcutListFailed(error);
    }
    co_await answer(std::move(task), std::move(outcome), std::move(api));
}

Task<> ScreenControlBridgeHandler::openApp(QString name) const {
    auto open = [](const std::stop_token& stop, const ScreenControlBridgeHandler& handler, const QString& name) {
        const auto application = handler.locateApp(name);
        if (!application)
            throw ApplicationNotFound(name);
        handler.workspace_->openApplication(application->path, stop);
    };
    return onPoolWaiting(open, *this, std::move(name));
}

Task<QString> ScreenControlBridgeHandler::runShortcuts(QStringList args, std::optional<QString> input) const {
    auto run = [](const std::stop_token& stop, const ScreenControlBridgeHandler& handler, const QStringList& args,
                  const std::optional<QString>& input) { return handler.runShortcutsCLI(args, input, stop); };
    return onPoolWaiting(run, *this, std::move(args), std::move(input));
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
