#include "server/Server.h"

#include <QString>

#include <csignal>
#include <cstdio>
#include <malloc.h>
#include <sys/stat.h>

using namespace vennic;

namespace {
constexpr int failed = 1;
constexpr int wrongUsage = 2;

void print(std::FILE* to, const QString& text) {
    std::fputs(text.toUtf8().constData(), to);
    std::fputc('\n', to);
    std::fflush(to);
}
} // namespace

int main(int argc, char** argv) {
    // Big answers come and go: their memory goes back to the system at once instead of staying in the heap.
    mallopt(M_MMAP_THRESHOLD, 128 * 1024);
    mallopt(M_ARENA_MAX, 1);
    umask(077);
    std::signal(SIGPIPE, SIG_IGN);
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    server::Options options;
    try {
        options = server::readOptions(arguments);
    } catch (const std::exception& error) {
        print(stderr, QStringLiteral("vennic-server : ") + localizedDescription(error));
        print(stderr, QStringLiteral("Essaie « vennic-server --help »."));
        return wrongUsage;
    }
    if (options.help || options.version) {
        print(stdout, options.help ? server::optionsHelp().trimmed() : QStringLiteral("vennic-server " VENNIC_VERSION));
        return 0;
    }
    try {
        server::Server running(options);
        running.stopOnTermination();
        print(stdout, QStringLiteral("vennic-server écoute sur %1 (console : %1/console)").arg(running.url()));
        running.run();
        return 0;
    } catch (const std::exception& error) {
        print(stderr, QStringLiteral("vennic-server : ") + localizedDescription(error));
        return failed;
    }
}
