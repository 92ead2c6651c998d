#pragma once
#include <QDBusConnection>
#include <QDBusVariant>
#include <QObject>

#include <chrono>
#include <stop_token>

namespace vennic {

enum class SecretPromptOutcome { completed, dismissed, failed };

/// Shows a prompt of the Secret Service and waits for its end, at most `patience`; told to stop it takes the prompt
/// away. The caller's event loop stands still meanwhile: the end is awaited on a thread of its own, so that nothing of
/// ours is entered a second time.
SecretPromptOutcome runSecretPrompt(QDBusConnection connection, const QString& service, const QString& path,
                                    std::chrono::milliseconds patience, const std::stop_token& stop = {});

/// Receives the prompt's signal.
class SecretPromptReceiver final : public QObject {
    Q_OBJECT
public:
    SecretPromptOutcome outcome = SecretPromptOutcome::failed;

public Q_SLOTS:
    void completed(bool dismissed, const QDBusVariant& result);

Q_SIGNALS:
    void ended();
};

} // namespace vennic
