#include "linux/InstanceSocket.h"

#include "base/LocalizedError.h"
#include "base/Pool.h"
#include "linux/FileDescriptor.h"
#include "support/Await.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QScopeGuard>
#include <QTemporaryDir>

#include <atomic>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

using namespace vennic;
using namespace std::chrono_literals;

namespace {

Task<QByteArray> echo(QByteArray request) { co_return "echo " + request; }

Task<QByteArray> never(QByteArray) {
    Event<QByteArray> event;
    co_return co_await event;
}

/// Sets `state` to -1 when it begins, and to 1 when it is given up.
Task<QByteArray> neverButTold(int* state) {
    const auto told = qScopeGuard([state] { *state = 1; });
    *state = -1;
    Event<QByteArray> event;
    co_return co_await event;
}

std::optional<QByteArray> askFromElsewhere(const QString& directory, const QByteArray& request,
                                           std::chrono::milliseconds limit = 5s) {
    return test::await(onPool([directory, request, limit] { return InstanceSocket(directory).ask(request, limit); }));
}

/// A connection that sends whatever it likes.
class RawAsker {
public:
    explicit RawAsker(const QString& path) : descriptor_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        qstrncpy(address.sun_path, QFile::encodeName(path).constData(), sizeof address.sun_path);
        connected = ::connect(descriptor_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    }
    RawAsker(const RawAsker&) = delete;
    RawAsker& operator=(const RawAsker&) = delete;
    ~RawAsker() { ::close(descriptor_); }
    void send(const QByteArray& bytes) const {
        EXPECT_EQ(::send(descriptor_, bytes.constData(), static_cast<std::size_t>(bytes.size()), MSG_NOSIGNAL),
                  bytes.size());
    }
    /// Bytes until the other side ends, read while this thread's event loop runs.
    QByteArray answer() const {
        return test::await(onPool([descriptor = descriptor_] {
            QByteArray all;
            char buffer[4096];
            for (ssize_t n = 0; (n = ::recv(descriptor, buffer, sizeof buffer, 0)) > 0;)
                all.append(buffer, n);
            return all;
        }));
    }
    bool connected = false;

private:
    int descriptor_;
};

class InstanceSocketTest : public ::testing::Test {
protected:
    QTemporaryDir root;
    QString directory = root.path() + QStringLiteral("/run/vennic");
};

} // namespace

TEST_F(InstanceSocketTest, nobodyAnswersWhenNoClientRuns) {
    EXPECT_EQ(InstanceSocket(directory).ask("status", 1s), std::nullopt);
}

TEST_F(InstanceSocketTest, theOneClientAnswers) {
    InstanceSocket client(directory);
    ASSERT_TRUE(client.claim(echo));
    EXPECT_EQ(askFromElsewhere(directory, "bonjour"), QByteArray("echo bonjour"));
    EXPECT_EQ(askFromElsewhere(directory, "encore"), QByteArray("echo encore"));
}

TEST_F(InstanceSocketTest, aSecondClientFindsThePlaceTaken) {
    InstanceSocket first(directory);
    ASSERT_TRUE(first.claim(echo));
    InstanceSocket second(directory);
    EXPECT_FALSE(second.claim(echo));
    EXPECT_EQ(askFromElsewhere(directory, "a"), QByteArray("echo a"));
}

TEST_F(InstanceSocketTest, thePlaceIsFreeAgainAfterItsClient) {
    {
        ASSERT_TRUE(InstanceSocket(directory).claim(echo));
    }
    EXPECT_FALSE(QFile::exists(directory + QStringLiteral("/socket")));
    EXPECT_TRUE(InstanceSocket(directory).claim(echo));
}

TEST_F(InstanceSocketTest, aLeftoverSocketIsReplaced) {
    QDir().mkpath(directory);
    QFile leftover(directory + QStringLiteral("/socket"));
    ASSERT_TRUE(leftover.open(QIODevice::WriteOnly));
    InstanceSocket client(directory);
    ASSERT_TRUE(client.claim(echo));
    EXPECT_EQ(askFromElsewhere(directory, "a"), QByteArray("echo a"));
}

TEST_F(InstanceSocketTest, folderAndSocketAreForTheUserAlone) {
    InstanceSocket client(directory);
    ASSERT_TRUE(client.claim(echo));
    struct stat info{};
    ASSERT_EQ(::stat(QFile::encodeName(directory).constData(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700U);
    ASSERT_EQ(::stat(QFile::encodeName(client.socketPath()).constData(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600U);
}

TEST_F(InstanceSocketTest, aFolderThatIsALinkIsRefused) {
    QDir().mkpath(root.path() + QStringLiteral("/run"));
    ASSERT_TRUE(QFile::link(QStringLiteral("/tmp"), directory));
    EXPECT_THROW(InstanceSocket(directory).claim(echo), LocalizedError);
}

TEST_F(InstanceSocketTest, aClientThatNeverAnswersIsGivenUp) {
    InstanceSocket client(directory);
    ASSERT_TRUE(client.claim(never));
    try {
        (void)askFromElsewhere(directory, "a", 50ms);
        FAIL() << "nobody answered";
    } catch (const InstanceHungUp&) {
        FAIL() << "nobody hung up";
    } catch (const LocalizedError& error) {
        EXPECT_EQ(error.errorDescription(), QStringLiteral("Vennic tourne, mais n'a pas répondu à temps."));
    }
}

TEST_F(InstanceSocketTest, aClientThatEndsWithoutHavingTakenTheRequestIsToldFromASilentOne) {
    QDir().mkpath(directory);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, QFile::encodeName(directory + QStringLiteral("/socket")).constData(),
             sizeof address.sun_path);
    FileDescriptor place(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    ASSERT_EQ(::bind(place.number(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(place.number(), 1), 0);
    std::atomic<bool> hungUp = false;
    std::thread asker([&] {
        try {
            (void)InstanceSocket(directory).ask("a", 5s);
        } catch (const InstanceHungUp&) {
            hungUp = true;
        }
    });
    pollfd arrival{place.number(), POLLIN, 0};
    EXPECT_EQ(::poll(&arrival, 1, 5000), 1);
    place.close();
    asker.join();
    EXPECT_TRUE(hungUp);
}

TEST_F(InstanceSocketTest, aClientThatRefusesARequestIsToldFromASilentOne) {
    InstanceSocket client(directory);
    ASSERT_TRUE(client.claim(echo));
    EXPECT_THROW(askFromElsewhere(directory, QByteArray(70 * 1024, 'x')), InstanceHungUp);
}

TEST_F(InstanceSocketTest, aLineThatIsTooLongGetsNoAnswer) {
    InstanceSocket client(directory);
    ASSERT_TRUE(client.claim(echo));
    const RawAsker asker(client.socketPath());
    ASSERT_TRUE(asker.connected);
    asker.send(QByteArray(70 * 1024, 'x'));
    EXPECT_EQ(asker.answer(), QByteArray());
    EXPECT_EQ(askFromElsewhere(directory, "a"), QByteArray("echo a"));
}

TEST_F(InstanceSocketTest, anAskerThatLeavesBeforeTheAnswerHarmsNobody) {
    InstanceSocket client(directory);
    ASSERT_TRUE(client.claim(echo));
    {
        const RawAsker asker(client.socketPath());
        asker.send("a\n");
    }
    EXPECT_EQ(askFromElsewhere(directory, "b"), QByteArray("echo b"));
}

TEST_F(InstanceSocketTest, aRequestInPiecesIsOneRequest) {
    InstanceSocket client(directory);
    ASSERT_TRUE(client.claim(echo));
    const RawAsker asker(client.socketPath());
    for (const char* piece : {"bon", "jo", "ur\n"})
        asker.send(piece);
    EXPECT_EQ(asker.answer(), QByteArray("echo bonjour\n"));
}

TEST_F(InstanceSocketTest, manyIdleAskersLeaveRoomOnceTheyGo) {
    InstanceSocket client(directory);
    ASSERT_TRUE(client.claim(echo));
    {
        std::vector<std::unique_ptr<RawAsker>> idle;
        for (int i = 0; i < 64; ++i) {
            idle.push_back(std::make_unique<RawAsker>(client.socketPath()));
            QCoreApplication::processEvents(); // lets the client accept it
        }
    }
    EXPECT_EQ(askFromElsewhere(directory, "a"), QByteArray("echo a"));
}

TEST_F(InstanceSocketTest, whatIsBeingAnsweredWhenItHangsUpEndsWithoutAnAnswerAndThePlaceStaysTaken) {
    int ended = 0;
    InstanceSocket client(directory);
    ASSERT_TRUE(client.claim([&ended](QByteArray) { return neverButTold(&ended); }));
    const RawAsker asker(client.socketPath());
    asker.send("a\n");
    ASSERT_TRUE(test::waitUntil([&] { return ended == -1; }));
    client.hangUp();
    EXPECT_EQ(ended, 1);
    EXPECT_EQ(asker.answer(), QByteArray());
    EXPECT_EQ(InstanceSocket(directory).ask("b", 1s), std::nullopt);
    EXPECT_FALSE(InstanceSocket(directory).claim(echo));
}

TEST_F(InstanceSocketTest, hangingUpTwiceOrUnclaimedIsNothing) {
    InstanceSocket client(directory);
    client.hangUp();
    ASSERT_TRUE(client.claim(echo));
    client.hangUp();
    client.hangUp();
    EXPECT_FALSE(InstanceSocket(directory).claim(echo));
}
