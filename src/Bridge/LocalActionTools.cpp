#include "Bridge/LocalActionTools.h"

#include "Bridge/ApplicationNotFound.h"
#include "base/Pool.h"

namespace vennic {

namespace {

// What runs on the pool makes the whole text there: an automation may write as much as it likes.

QString openNamed(const std::stop_token& stop, const ScreenControlBridgeHandler& screen, const QString& name) {
    try {
        screen.openApp(name, stop);
        return QStringLiteral("Opened ") + name + u'.';
    } catch (const ApplicationNotFound& error) {
        return error.errorDescription();
    } catch (const std::exception& error) {
        return QStringLiteral("Failed to open ") + name + QStringLiteral(": ") + localizedDescription(error);
    }
}

QString listAll(const std::stop_token& stop, const ScreenControlBridgeHandler& screen) {
    try {
        const QString text = screen.runShortcutsCLI({QStringLiteral("list")}, std::nullopt, stop);
        QStringList lines;
        for (const QString& line : text.split(u'\n')) {
            if (const QString name = line.trimmed(); !name.isEmpty())
                lines.append(QString::number(lines.size() + 1) + QStringLiteral(". ") + name);
        }
        return lines.isEmpty() ? QStringLiteral("No shortcuts found.") : lines.join(u'\n');
    } catch (const std::exception& error) {
        return ScreenControlBridgeHandler::shortcutListFailed(error);
    }
}

QString runNamed(const std::stop_token& stop, const ScreenControlBridgeHandler& screen, const QString& name,
                 const std::optional<QString>& input) {
    try {
        const QString output = screen.runShortcutsCLI({QStringLiteral("run"), name}, input, stop);
        return output.isEmpty() ? QStringLiteral("Shortcut '") + name + QStringLiteral("' ran (no output).") : output;
    } catch (const std::exception& error) {
        return ScreenControlBridgeHandler::shortcutRunFailed(error);
    }
}

QString nameOf(const LocalToolArguments& arguments) {
    return arguments.text(QLatin1String("name")).value_or(QString());
}

} // namespace

Task<QString> LocalActionTools::openApp(LocalToolArguments arguments) const {
    const QString name = nameOf(arguments);
    if (name.isEmpty())
        co_return QStringLiteral("Missing app name.");
    co_return co_await onPoolWaiting(openNamed, screen_, name);
}

Task<QString> LocalActionTools::listShortcuts() const { return onPoolWaiting(listAll, screen_); }

Task<QString> LocalActionTools::runShortcut(LocalToolArguments arguments) const {
    const QString name = nameOf(arguments);
    if (name.isEmpty())
        co_return QStringLiteral("Missing shortcut name.");
    co_return co_await onPoolWaiting(runNamed, screen_, name, arguments.text(QLatin1String("input")));
}

} // namespace vennic
