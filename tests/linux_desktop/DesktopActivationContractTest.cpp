#include "fakes/DesktopActivationFake.h"
#include "linux/desktop/DesktopActivationBus.h"
#include "support/Await.h"
#include "support/PrivateBus.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <thread>

namespace vennic::test {
namespace {

using namespace std::chrono_literals;

struct DoubleRoad {
    DesktopActivationFake road;
    bool handOver(const QStringList& addresses, const QString& token = {}) {
        return road.handOver(addresses, token, 5s);
    }
};

/// Two programs on one bus; the second asks from a thread of its own, since the first has to answer.
struct BusRoad {
    QTemporaryDir folder;
    PrivateBus bus{PrivateBus::Kind::session, folder.path()};
    DesktopActivationBus road;

    static bool handOver(const QStringList& addresses, const QString& token = {}) {
        std::optional<bool> handed;
        std::jthread second([&] {
            DesktopActivationBus other;
            const bool answered = other.handOver(addresses, token, 5s);
            QMetaObject::invokeMethod(qApp, [&handed, answered] { handed = answered; }, Qt::QueuedConnection);
        });
        waitUntil([&] { return handed.has_value(); });
        return handed.value_or(false);
    }
    static int gdbus(const QStringList& method) {
        QProcess process;
        process.start(QStringLiteral("gdbus"),
                      QStringList{QStringLiteral("call"), QStringLiteral("--session"), QStringLiteral("--dest"),
                                  QStringLiteral("com.vennic.desktop"), QStringLiteral("--object-path"),
                                  QStringLiteral("/com/vennic/desktop"), QStringLiteral("--method")} +
                          method);
        waitUntil([&] { return process.state() == QProcess::NotRunning; });
        return process.exitCode();
    }
};

} // namespace

template <class T>
class DesktopActivationContract : public testing::Test {
protected:
    T with;
    int activations = 0;
    QStringList opened;
    QStringList actions;
    QStringList tokens;

    DesktopActivation::Requests requests() {
        return {.activate = [this] { ++activations; },
                .open = [this](const QStringList& addresses) { opened += addresses; },
                .act = [this](const QString& action) { actions.append(action); },
                .allow = [this](const QString& token) { tokens.append(token); }};
    }
};
using AllRoads = testing::Types<DoubleRoad, BusRoad>;
TYPED_TEST_SUITE(DesktopActivationContract, AllRoads);

TYPED_TEST(DesktopActivationContract, aSecondStartHasTheFirstComeForward) {
    ASSERT_TRUE(this->with.road.offer(this->requests()));
    EXPECT_TRUE(this->with.handOver({}));
    EXPECT_EQ(this->activations, 1);
    EXPECT_TRUE(this->opened.isEmpty());
}

TYPED_TEST(DesktopActivationContract, aSecondStartHandsItsAddressesOver) {
    ASSERT_TRUE(this->with.road.offer(this->requests()));
    const QStringList addresses{QStringLiteral("vennic://local/setup"), QStringLiteral("vennic://é")};
    EXPECT_TRUE(this->with.handOver(addresses));
    EXPECT_EQ(this->opened, addresses);
    EXPECT_EQ(this->activations, 0);
}

TYPED_TEST(DesktopActivationContract, whatTheDesktopAllowsComesAlong) {
    ASSERT_TRUE(this->with.road.offer(this->requests()));
    EXPECT_TRUE(this->with.handOver({}, QStringLiteral("shell-1_TIME4711")));
    EXPECT_TRUE(this->with.handOver({QStringLiteral("vennic://local/setup")}, QStringLiteral("é")));
    EXPECT_TRUE(this->with.handOver({}));
    EXPECT_EQ(this->tokens, (QStringList{QStringLiteral("shell-1_TIME4711"), QStringLiteral("é")}));
}

TYPED_TEST(DesktopActivationContract, withNobodyOnTheRoadNothingIsHandedOver) {
    EXPECT_FALSE(this->with.handOver({}));
    ASSERT_TRUE(this->with.road.offer(this->requests()));
    this->with.road.withdraw();
    EXPECT_FALSE(this->with.handOver({}));
    EXPECT_FALSE(this->with.handOver({QStringLiteral("vennic://local/setup")}));
    EXPECT_EQ(this->activations, 0);
}

class DesktopActivationBusTest : public DesktopActivationContract<BusRoad> {};

TEST_F(DesktopActivationBusTest, onlyOneProgramStandsOnTheRoad) {
    ASSERT_TRUE(with.road.offer(requests()));
    DesktopActivationBus second;
    EXPECT_FALSE(second.offer(requests()));
    EXPECT_TRUE(with.handOver({}));
    EXPECT_EQ(activations, 1);
    with.road.withdraw();
    EXPECT_TRUE(second.offer(requests()));
}

TEST_F(DesktopActivationBusTest, theDesktopsOwnCallsAreUnderstood) {
    ASSERT_TRUE(with.road.offer(requests()));
    EXPECT_EQ(with.gdbus({QStringLiteral("org.freedesktop.Application.Activate"), QStringLiteral("{}")}), 0);
    EXPECT_EQ(with.gdbus({QStringLiteral("org.freedesktop.Application.Open"),
                          QStringLiteral("['vennic://local/setup']"), QStringLiteral("{'desktop-startup-id': <'x'>}")}),
              0);
    EXPECT_EQ(with.gdbus({QStringLiteral("org.freedesktop.Application.ActivateAction"), QStringLiteral("quit"),
                          QStringLiteral("[]"), QStringLiteral("{'activation-token': <'y'>}")}),
              0);
    for (const char* unusable : {"{'desktop-startup-id': <['x']>}", "{'activation-token': <''>}", "{'other': <'x'>}"})
        EXPECT_EQ(with.gdbus({QStringLiteral("org.freedesktop.Application.Activate"), QString::fromLatin1(unusable)}),
                  0);
    EXPECT_TRUE(with.handOver({}, QString(2000, u'x')));
    EXPECT_EQ(tokens, (QStringList{QStringLiteral("x"), QStringLiteral("y")}));
    EXPECT_EQ(activations, 5);
    EXPECT_EQ(opened, QStringList{QStringLiteral("vennic://local/setup")});
    EXPECT_EQ(actions, QStringList{QStringLiteral("quit")});
}

TEST_F(DesktopActivationBusTest, whatIsNoRequestIsRefused) {
    ASSERT_TRUE(with.road.offer(requests()));
    EXPECT_NE(with.gdbus({QStringLiteral("org.freedesktop.Application.Open"), QStringLiteral("42")}), 0);
    EXPECT_NE(with.gdbus({QStringLiteral("org.freedesktop.Application.Nothing")}), 0);
    EXPECT_TRUE(opened.isEmpty());
}

TEST_F(DesktopActivationBusTest, tooManyAndTooLongAddressesAreLeftOut) {
    ASSERT_TRUE(with.road.offer(requests()));
    QStringList addresses{QString(9000, u'a')};
    for (int i = 0; i < 100; ++i)
        addresses.append(QStringLiteral("vennic://%1").arg(i));
    EXPECT_TRUE(with.handOver(addresses));
    EXPECT_EQ(opened.size(), 63);
    EXPECT_EQ(opened.first(), QStringLiteral("vennic://0"));
}

TEST_F(DesktopActivationBusTest, aProgramThatDoesNotAnswerIsNotWaitedForLong) {
    ASSERT_TRUE(with.road.offer(requests()));
    DesktopActivationBus second; // on this thread, on which the first can't answer meanwhile
    EXPECT_FALSE(second.handOver({}, {}, 100ms));
}

TEST_F(DesktopActivationBusTest, aBusThatGoesAndComesAgainFindsTheProgramThere) {
    ASSERT_TRUE(with.road.offer(requests()));
    with.bus.stop();
    with.bus.start();
    ASSERT_TRUE(with.bus.waitForOwner(QStringLiteral("com.vennic.desktop")));
    EXPECT_TRUE(with.handOver({QStringLiteral("vennic://local/setup")}));
    EXPECT_EQ(opened, QStringList{QStringLiteral("vennic://local/setup")});
}

TEST_F(DesktopActivationBusTest, whoHasWithdrawnStaysAwayFromABusThatComesAgain) {
    ASSERT_TRUE(with.road.offer(requests()));
    with.road.withdraw();
    with.bus.stop();
    with.bus.start();
    QCoreApplication::processEvents();
    EXPECT_FALSE(with.handOver({}));
}

TEST(DesktopActivationWithoutABus, isNoRoad) {
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere");
    DesktopActivationBus road;
    EXPECT_FALSE(road.offer({}));
    EXPECT_FALSE(road.handOver({}, {}, 100ms));
    road.withdraw();
}

} // namespace vennic::test
