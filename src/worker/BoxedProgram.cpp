#include "worker/BoxedProgram.h"

#include "base/IdlePriority.h"
#include "worker/Serve.h"

#include <csignal>
#include <cstdio>
#include <string_view>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>

namespace vennic::worker {

int runBoxed(const BoxedProgram& program, int count, char** arguments) {
    constexpr int socketNumber = 3; // where the client puts its end's peer
    int type = 0;
    socklen_t size = sizeof type;
    if (getsockopt(socketNumber, SOL_SOCKET, SO_TYPE, &type, &size) != 0) {
        std::fprintf(stderr, "%s: programme interne, lancé par vennic\n", program.name);
        return 2;
    }
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    // A library's complaint to a standard error that is a file fails in the box, and must not end the process.
    std::signal(SIGXFSZ, SIG_IGN);
    if (count > 1 && std::string_view(arguments[1]) == "--background")
        takeIdlePriority();
    program.warmUp();
    const auto box = lockDown(program.rules);
    if (!sendHello(socketNumber, box) || box != wire::BoxState::boxed)
        return 1;
    return serve(socketNumber, program) ? 0 : 1;
}

} // namespace vennic::worker
