#include "linux/SecretPrompt.h"

#include <QDBusMessage>
#include <QEventLoop>
#include <QThread>
#include <QTimer>

#include <memory>

namespace vennic {

namespace {

const QString& interface() {
    static const QString name = QStringLiteral("org.freedesktop.Secret.Prompt");
    return name;
}

SecretPromptOutcome runHere(QDBusConnection connection, const QString& service, const QString& path,
                            std::chrono::milliseconds patience, const std::stop_token& stop) {
    qRegisterMetaType<QDBusVariant>("QDBusVariant"); // the signal's, which nobody may have needed before
    SecretPromptReceiver receiver;
    QEventLoop loop;
    QObject::connect(&receiver, &SecretPromptReceiver::ended, &loop, &QEventLoop::quit);
    if (!connection.connect(service, path, interface(), QStringLiteral("Completed"), &receiver,
                            SLOT(completed(bool, QDBusVariant))))
        return SecretPromptOutcome::failed;
    auto show = QDBusMessage::createMethodCall(service, path, interface(), QStringLiteral("Prompt"));
    show.setArguments({QString()}); // no window that it belongs to
    if (connection.call(show, QDBus::Block, 5000).type() == QDBusMessage::ErrorMessage)
        return SecretPromptOutcome::failed;
    bool givenUp = false;
    const auto giveUp = [&] {
        givenUp = true;
        loop.quit();
    };
    QTimer::singleShot(patience, &loop, giveUp);
    // From the loop, which may have yet to begin.
    const std::stop_callback told(stop, [&] { QMetaObject::invokeMethod(&loop, giveUp, Qt::QueuedConnection); });
    loop.exec();
    if (givenUp) {
        connection.call(QDBusMessage::createMethodCall(service, path, interface(), QStringLiteral("Dismiss")),
                        QDBus::NoBlock);
        return SecretPromptOutcome::dismissed;
    }
    return receiver.outcome;
}

} // namespace

void SecretPromptReceiver::completed(bool dismissed, const QDBusVariant&) {
    outcome = dismissed ? SecretPromptOutcome::dismissed : SecretPromptOutcome::completed;
    Q_EMIT ended();
}

SecretPromptOutcome runSecretPrompt(QDBusConnection connection, const QString& service, const QString& path,
                                    std::chrono::milliseconds patience, const std::stop_token& stop) {
    auto outcome = SecretPromptOutcome::failed;
    const std::unique_ptr<QThread> thread(
        QThread::create([&] { outcome = runHere(connection, service, path, patience, stop); }));
    thread->start();
    thread->wait();
    return outcome;
}

} // namespace vennic
