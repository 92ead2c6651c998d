#include "faults/FaultBackend.h"

#include <gtest/gtest.h>

namespace vennic::test {
namespace {

struct Cell {
    Call call;
    Fault fault;
    bool reused; // the connection has served an earlier call
};

std::vector<Cell> cells() {
    std::vector<Cell> cells;
    for (const auto& faults : {wireFaults(), hostileAnswers()})
        for (const Fault& fault : faults)
            for (const Call call : {Call::poll, Call::update, Call::revoke, Call::claim})
                for (const bool reused : {false, true})
                    if (!reused || fault.greeting == Greeting::handshake)
                        cells.push_back({call, fault, reused});
    return cells;
}

std::string nameOf(const testing::TestParamInfo<Cell>& cell) {
    static const char* const calls[] = {"poll", "update", "revoke", "claim"};
    return std::string(calls[static_cast<int>(cell.param.call)]) + '_' + cell.param.fault.name +
           (cell.param.reused ? "_reused" : "");
}

class FaultMatrix : public testing::TestWithParam<Cell> {};

TEST_P(FaultMatrix, endsTheCallAsItShouldAndTheRequestArrivesOnce) {
    const auto& [call, fault, reused] = GetParam();
    LoopbackServer server(backendServer(fault.greeting));
    FaultBackend backend(server);
    backend.useAddress();
    if (reused) {
        server.onRequest(answers::bytes("HTTP/1.1 204 None\r\n\r\n"));
        ASSERT_EQ(backend.outcome(call == Call::revoke ? Call::update : Call::revoke), "done");
    }
    server.onRequest(fault.script(call));
    backend.hurry(fault.hurried);

    EXPECT_EQ(backend.outcome(call), fault.expected.of(call));

    EXPECT_EQ(backend.announcements, fault.announced && call != Call::claim ? 1 : 0);
    const int arrived = server.count(methodOf(call), targetOf(call));
    if (fault.greeting != Greeting::handshake)
        EXPECT_EQ(arrived, 0);
    else if (call == Call::poll && reused)
        EXPECT_TRUE(arrived == 1 || arrived == 2) << arrived; // asking again for the next task does no harm
    else
        EXPECT_EQ(arrived, 1);
    for (const ReceivedRequest& request : server.requests())
        EXPECT_EQ(request.header("X-User-Token"), request.target == targetOf(Call::claim) ? QByteArray() : "s3cret");
}

INSTANTIATE_TEST_SUITE_P(Faults, FaultMatrix, testing::ValuesIn(cells()), nameOf);

} // namespace
} // namespace vennic::test
