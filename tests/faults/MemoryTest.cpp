#include "faults/FaultBackend.h"

#include <QFile>

#include <gtest/gtest.h>

namespace vennic::test {
namespace {

/// The most memory that this process ever held, in bytes.
qint64 peak() {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith("VmHWM:"))
            return line.mid(6).chopped(3).trimmed().toLongLong() * 1024;
    return -1;
}

#ifdef VENNIC_SANITIZED
constexpr qint64 room = 1024LL << 20; // a sanitizer keeps what has been freed
#else
constexpr qint64 room = 64LL << 20;
#endif

TEST(Memory, noAnswerMakesTheClientGrowBeyondItsCeiling) {
    LoopbackServer server(backendServer());
    FaultBackend backend(server);
    server.onRequest(answers::bytes("HTTP/1.1 204 None\r\n\r\n"));
    ASSERT_EQ(backend.outcome(Call::poll), "nothing");
    const qint64 before = peak();
    ASSERT_GT(before, 0);
    const std::pair<AnswerScript, std::string> bodies[] = {
        {answers::hugeBody(512LL << 20, 512LL << 20), "tooLarge"},
        {answers::endlessBody(), "tooLarge"},
        {answers::endlessHeader(), "tooLarge"},
        {answers::endlessHeaderLine(), "tooLarge"},
    };
    for (const auto& [script, outcome] : bodies) {
        server.onRequest(script);
        for (int round = 0; round < 3; ++round)
            EXPECT_EQ(backend.outcome(Call::poll), outcome);
    }
    EXPECT_LE(peak() - before, room);
}

TEST(Memory, aBodyThatUnpacksToAGigabyteIsNotUnpacked) {
    LoopbackServer server(backendServer());
    FaultBackend backend(server);
    server.onRequest(answers::gzipBomb());
    const qint64 before = peak();
    EXPECT_EQ(backend.outcome(Call::poll), "unreadable");
    EXPECT_LE(peak() - before, room);
}

} // namespace
} // namespace vennic::test
