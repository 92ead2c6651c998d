#include "fakes/DesktopActivationFake.h"
#include "linux/FileDescriptor.h"
#include "linux/desktop/DesktopActivationBus.h"
#include "support/Await.h"
#include "support/PrivateBus.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <array>
#include <atomic>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
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

/// A bus that has stopped: connections are taken for it. One that `letsIn` goes on to the end of the authentication
/// (the D-Bus Specification, "Authentication Protocol"), and is silent from there on.
class StoppedBus {
public:
    StoppedBus(const QString& path, bool letsIn) : listener_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
        const QByteArray bytes = QFile::encodeName(path);
        std::copy(bytes.begin(), bytes.end(), std::begin(address.sun_path));
        EXPECT_EQ(::bind(listener_.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(::listen(listener_.number(), 16), 0);
        if (letsIn)
            letting_ = std::jthread([this] { letIn(); });
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + bytes);
    }
    ~StoppedBus() { ::shutdown(listener_.number(), SHUT_RDWR); }
    Q_DISABLE_COPY_MOVE(StoppedBus)
    bool hasLetIn() const { return hasLetIn_; }

private:
    void letIn() {
        const FileDescriptor client(::accept(listener_.number(), nullptr, nullptr));
        QByteArray heard;
        std::array<char, 4096> bytes{};
        for (ssize_t count = 0; (count = ::read(client.number(), bytes.data(), bytes.size())) > 0;) {
            heard.append(bytes.data(), count);
            for (qsizetype end = 0; !hasLetIn_ && (end = heard.indexOf("\r\n")) >= 0; heard.remove(0, end + 2))
                answer(client, heard.left(end));
        }
    }
    void answer(const FileDescriptor& client, const QByteArray& line) {
        hasLetIn_ = line == "BEGIN";
        if (hasLetIn_)
            return;
        const QByteArray said = line.contains("AUTH EXTERNAL")       ? "OK 0123456789abcdef0123456789abcdef\r\n"
                                : line.contains("NEGOTIATE_UNIX_FD") ? "AGREE_UNIX_FD\r\n"
                                                                     : "REJECTED EXTERNAL\r\n";
        EXPECT_EQ(::write(client.number(), said.constData(), static_cast<std::size_t>(said.size())), said.size());
    }

    FileDescriptor listener_;
    std::atomic<bool> hasLetIn_ = false;
    std::jthread letting_;
};

TEST(DesktopActivationOnAStoppedBus, isGivenUp) {
    const QTemporaryDir folder;
    for (const bool letsIn : {false, true}) {
        const StoppedBus bus(folder.filePath(letsIn ? QStringLiteral("later") : QStringLiteral("silent")), letsIn);
        QElapsedTimer taken;
        taken.start();
        EXPECT_FALSE(DesktopActivationBus().handOver({QStringLiteral("vennic://local/setup")}, {}, 100ms));
        EXPECT_LT(taken.elapsed(), 15'000) << "a library of D-Bus waits for 25 seconds by itself";
        EXPECT_EQ(bus.hasLetIn(), letsIn);
    }
}

TEST(DesktopActivationWithoutABus, isNoRoad) {
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere");
    DesktopActivationBus road;
    EXPECT_FALSE(road.offer({}));
    EXPECT_FALSE(road.handOver({}, {}, 100ms));
    road.withdraw();
}

} // namespace vennic::test
