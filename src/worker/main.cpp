#include "base/IdlePriority.h"
#include "worker/Box.h"
#include "worker/ReadDocument.h"
#include "worker/Serve.h"

#include <csignal>
#include <cstdio>
#include <string_view>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>

namespace {
constexpr int socketNumber = 3; // where the client puts its end's peer
}

// The order matters: warm up, lock down, and only then read the first byte that somebody else wrote.
int main(int count, char** arguments) {
    int type = 0;
    socklen_t size = sizeof type;
    if (getsockopt(socketNumber, SOL_SOCKET, SO_TYPE, &type, &size) != 0) {
        std::fputs("vennic-worker: programme interne, lancé par vennic\n", stderr);
        return 2;
    }
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (count > 1 && std::string_view(arguments[1]) == "--background")
        vennic::takeIdlePriority();
    vennic::worker::warmUpReaders();
    const auto box = vennic::worker::lockDown({});
    if (!vennic::worker::sendHello(socketNumber, box) || box != vennic::wire::BoxState::boxed)
        return 1;
    return vennic::worker::serve(socketNumber) ? 0 : 1;
}
