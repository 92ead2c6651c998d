#include "linux/SecretPrompt.h"

#include "linux/DBusLink.h"
#include "support/Await.h"
#include "support/PrivateBus.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <thread>

namespace vennic::test {

using namespace std::chrono_literals;

/// A prompt of a service, which answers as told.
class PromptDouble final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Secret.Prompt")
public:
    bool isShown = false;
    int dismissals = 0;

public Q_SLOTS:
    void Prompt(const QString&) { isShown = true; }
    void Dismiss() { ++dismissals; }

Q_SIGNALS:
    void Completed(bool dismissed, const QDBusVariant& result);
};

class SecretPromptTest : public testing::Test {
protected:
    SecretPromptTest() {
        EXPECT_TRUE(service_.connection().registerObject(path_, &prompt_, QDBusConnection::ExportAllContents));
    }
    /// Shows the prompt on a thread of its own, as who reads beside the main thread does.
    void show(std::chrono::milliseconds patience = 2min) {
        asking_ = std::jthread([this, patience] {
            outcome_ = runSecretPrompt(asker_.connection(), service_.connection().baseService(), path_, patience,
                                       source_.get_token());
            ended_ = true;
        });
        ASSERT_TRUE(waitUntil([this] { return prompt_.isShown; }));
    }
    SecretPromptOutcome outcome() {
        EXPECT_TRUE(waitUntil([this] { return ended_.load(); }));
        return outcome_;
    }
    QTemporaryDir folder_;
    PrivateBus bus_{PrivateBus::Kind::session, folder_.path()};
    DBusLink service_{DBusLink::Bus::session};
    DBusLink asker_{DBusLink::Bus::session};
    PromptDouble prompt_;
    const QString path_ = QStringLiteral("/prompt");
    std::stop_source source_;
    SecretPromptOutcome outcome_ = SecretPromptOutcome::failed;
    std::atomic<bool> ended_ = false;
    std::jthread asking_;
};

TEST_F(SecretPromptTest, itsEndIsAwaited) {
    show();
    EXPECT_FALSE(ended_);
    Q_EMIT prompt_.Completed(false, QDBusVariant(QString()));
    EXPECT_EQ(outcome(), SecretPromptOutcome::completed);
    EXPECT_EQ(prompt_.dismissals, 0);
}

TEST_F(SecretPromptTest, itIsTakenAwayWhenItsAskerIsToldToStop) {
    show();
    source_.request_stop();
    EXPECT_EQ(outcome(), SecretPromptOutcome::dismissed);
    EXPECT_TRUE(waitUntil([this] { return prompt_.dismissals == 1; }));
}

TEST_F(SecretPromptTest, itIsTakenAwayWhenNobodyAnswersInTime) {
    show(50ms);
    EXPECT_EQ(outcome(), SecretPromptOutcome::dismissed);
    EXPECT_TRUE(waitUntil([this] { return prompt_.dismissals == 1; }));
}

} // namespace vennic::test

#include "SecretPromptTest.moc"
