#include "app/Application.h"

#include "linux/desktop/ScreenProbe.h"

#include <QGuiApplication>
#include <QScopeGuard>
#include <QSessionManager>

#include <array>

namespace vennic {

namespace {

constexpr const char* themeVariable = "QT_QPA_PLATFORMTHEME";

// The toolkit keeps what it is given here for as long as the program runs.
std::array<char, 7> program{"vennic"};
std::array<char, 10> option{"-platform"};
QByteArray platform;
std::array<char*, 4> arguments{program.data(), nullptr, nullptr, nullptr};
int argumentCount = 1;

/// The client comes back by the autostart folder, not because it ran when the session ended.
void leaveRestartToTheDesktop(QSessionManager& manager) { manager.setRestartHint(QSessionManager::RestartNever); }

/// The session's end comes as an event that would end the program at once.
class EndOfSession final : public QObject {
public:
    EndOfSession(QCoreApplication* application, std::function<void()> ended)
        : application_(application), ended_(std::move(ended)) {
        application->installEventFilter(this);
    }

protected:
    bool eventFilter(QObject* object, QEvent* event) override {
        if (event->type() != QEvent::Quit || object != application_)
            return false;
        ended_();
        return true;
    }

private:
    const QCoreApplication* application_;
    std::function<void()> ended_;
};

std::unique_ptr<QCoreApplication> makeWindowed() {
    arguments = {program.data(), option.data(), platform.data(), nullptr};
    argumentCount = 3;
    QGuiApplication::setDesktopSettingsAware(false);
    const QByteArray theme = qgetenv(themeVariable);
    qunsetenv(themeVariable);
    // Programs that we start find their environment as it was.
    const auto restore = qScopeGuard([&theme] {
        if (!theme.isNull())
            qputenv(themeVariable, theme);
    });
    auto application = std::make_unique<QGuiApplication>(argumentCount, arguments.data());
    QGuiApplication::setQuitOnLastWindowClosed(false);
    QGuiApplication::setDesktopFileName(QStringLiteral("com.vennic.desktop"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Vennic"));
    QObject::connect(application.get(), &QGuiApplication::commitDataRequest, application.get(),
                     leaveRestartToTheDesktop, Qt::DirectConnection);
    QObject::connect(application.get(), &QGuiApplication::saveStateRequest, application.get(), leaveRestartToTheDesktop,
                     Qt::DirectConnection);
    return application;
}

} // namespace

std::unique_ptr<QCoreApplication> makeApplication() {
    platform = usableScreen();
    auto application =
        platform.isEmpty() ? std::make_unique<QCoreApplication>(argumentCount, arguments.data()) : makeWindowed();
    QCoreApplication::setApplicationName(QStringLiteral("vennic"));
    return application;
}

std::unique_ptr<QCoreApplication> makeConsoleApplication() {
    return QCoreApplication::instance() == nullptr ? std::make_unique<QCoreApplication>(argumentCount, arguments.data())
                                                   : nullptr;
}

std::unique_ptr<QObject> watchEndOfSession(std::function<void()> ended) {
    return std::make_unique<EndOfSession>(QCoreApplication::instance(), std::move(ended));
}

bool hasWindows() { return qobject_cast<QGuiApplication*>(QCoreApplication::instance()) != nullptr; }

} // namespace vennic
