#include "linux/UserPresencePolkit.h"

#include "support/PrivateBus.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <thread>

namespace vennic::test {

using namespace std::chrono_literals;

class UserPresencePolkitTest : public testing::Test {
protected:
    void startAuthority() {
        bus_.emplace(PrivateBus::Kind::system, folder_.path());
        authority_.emplace(QStringLiteral("/usr/bin/python3"),
                           QStringList{QStringLiteral("-m"), QStringLiteral("dbusmock"), QStringLiteral("--system"),
                                       QStringLiteral("--template"), QStringLiteral("polkitd")},
                           folder_.path());
        ASSERT_TRUE(bus_->waitForOwner(QStringLiteral("org.freedesktop.PolicyKit1")));
    }
    void tell(const QString& method, const QVariantList& arguments) {
        DBusLink link(DBusLink::Bus::system);
        ASSERT_EQ(link.call(QStringLiteral("org.freedesktop.PolicyKit1"),
                            QStringLiteral("/org/freedesktop/PolicyKit1/Authority"),
                            QStringLiteral("org.freedesktop.DBus.Mock"), method, arguments, 5s)
                      .type(),
                  QDBusMessage::ReplyMessage);
    }
    QTemporaryDir folder_;
    std::optional<PrivateBus> bus_;
    std::optional<PrivateProcess> authority_;
    const QString reason_ = QStringLiteral("Es-tu là ?");
};

TEST_F(UserPresencePolkitTest, withoutABusItIsUnavailable) {
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/proc/no-bus");
    UserPresencePolkit presence;
    EXPECT_FALSE(presence.isAvailable());
    EXPECT_EQ(presence.confirm(reason_), PresenceOutcome::unavailable);
}

TEST_F(UserPresencePolkitTest, withoutAnAuthorityItIsUnavailable) {
    bus_.emplace(PrivateBus::Kind::system, folder_.path());
    UserPresencePolkit presence;
    EXPECT_FALSE(presence.isAvailable());
    EXPECT_EQ(presence.confirm(reason_), PresenceOutcome::unavailable);
}

TEST_F(UserPresencePolkitTest, theAuthoritysAnswerIsHandedOn) {
    startAuthority();
    UserPresencePolkit presence;
    EXPECT_TRUE(presence.isAvailable());
    EXPECT_EQ(presence.confirm(reason_), PresenceOutcome::refused);
    tell(QStringLiteral("SetAllowed"), {QStringList{QStringLiteral("com.example.other")}});
    EXPECT_EQ(presence.confirm(reason_), PresenceOutcome::refused);
    tell(QStringLiteral("SetAllowed"), {QStringList{QStringLiteral("com.vennic.desktop.read-token")}});
    EXPECT_EQ(presence.confirm(reason_), PresenceOutcome::confirmed);
}

TEST_F(UserPresencePolkitTest, aQuestionThatNobodyAnswersCountsAsDismissed) {
    startAuthority();
    tell(QStringLiteral("SimulateHang"), {true});
    UserPresencePolkit presence(200ms);
    EXPECT_EQ(presence.confirm(reason_), PresenceOutcome::dismissed);
}

TEST_F(UserPresencePolkitTest, aQuestionIsWithdrawnWhenItsAskerIsToldToStop) {
    startAuthority();
    tell(QStringLiteral("SimulateHang"), {true});
    UserPresencePolkit presence;
    const std::stop_source asker;
    auto outcome = PresenceOutcome::confirmed;
    std::jthread asking([&] { outcome = presence.confirm(reason_, asker.get_token()); });
    asker.request_stop();
    asking.join(); // within the test's time, not in two minutes
    EXPECT_EQ(outcome, PresenceOutcome::dismissed);
}

TEST_F(UserPresencePolkitTest, aQuestionThatIsAnsweredWhileItCouldBeWithdrawnIsHandedOn) {
    startAuthority();
    tell(QStringLiteral("SetAllowed"), {QStringList{QStringLiteral("com.vennic.desktop.read-token")}});
    UserPresencePolkit presence;
    const std::stop_source asker;
    auto outcome = PresenceOutcome::refused;
    std::jthread asking([&] { outcome = presence.confirm(reason_, asker.get_token()); });
    asking.join();
    EXPECT_EQ(outcome, PresenceOutcome::confirmed);
}

TEST_F(UserPresencePolkitTest, anAuthorityThatAppearsLaterIsFound) {
    UserPresencePolkit presence;
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/proc/no-bus");
    EXPECT_FALSE(presence.isAvailable());
    startAuthority();
    EXPECT_TRUE(presence.isAvailable());
}

} // namespace vennic::test
