#include "Bridge/LocalActionTools.h"

#include "Bridge/ApplicationNotFound.h"

namespace vennic {

namespace {

QString nameOf(const LocalToolArguments& arguments) {
    return arguments.text(QLatin1String("name")).value_or(QString());
}

} // namespace

Task<QString> LocalActionTools::openApp(LocalToolArguments arguments) const {
    const QString name = nameOf(arguments);
    if (name.isEmpty())
        co_return QStringLiteral("Missing app name.");
    try {
        co_await screen_.openApp(name);
        co_return QStringLiteral("Opened ") + name + u'.';
    } catch (const Cancelled&) {
        throw;
    } catch (const ApplicationNotFound& error) {
        co_return error.errorDescription();
    } catch (const std::exception& error) {
        co_return QStringLiteral("Failed to open ") + name + QStringLiteral(": ") + localizedDescription(error);
    }
}

Task<QString> LocalActionTools::listShortcuts() const {
    try {
        const QString text = co_await screen_.runShortcuts({QStringLiteral("list")}, std::nullopt);
        QStringList lines;
        for (const QString& line : text.split(u'\n')) {
            if (const QString name = line.trimmed(); !name.isEmpty())
                lines.append(QString::number(lines.size() + 1) + QStringLiteral(". ") + name);
        }
        co_return lines.isEmpty() ? QStringLiteral("No shortcuts found.") : lines.join(u'\n');
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& error) {
        co_return ScreenControlBridgeHandler::shortcutListFailed(error);
    }
}

Task<QString> LocalActionTools::runShortcut(LocalToolArguments arguments) const {
    const QString name = nameOf(arguments);
    if (name.isEmpty())
        co_return QStringLiteral("Missing shortcut name.");
    try {
        const QString output =
            co_await screen_.runShortcuts({QStringLiteral("run"), name}, arguments.text(QLatin1String("input")));
        co_return output.isEmpty() ? QStringLiteral("Shortcut '") + name + QStringLiteral("' ran (no output).")
                                   : output;
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& error) {
        co_return ScreenControlBridgeHandler::shortcutRunFailed(error);
    }
}

} // namespace vennic
