// kelp-board: the virtual evaluation board on a pseudo-terminal.
#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

#include "board/boardserver.h"
#include "board/commandline.h"

int main(int argc, char** argv) {
    using namespace kelp::board;
    const CommandLine line = parseCommandLine(std::vector<std::string>(argv + 1, argv + argc));
    if (!line.error.empty()) {
        std::fprintf(stderr, "kelp-board: %s\nTry 'kelp-board --help'.\n", line.error.c_str());
        return 2;
    }
    if (line.help) {
        std::fputs(usageText().c_str(), stdout);
        return 0;
    }

    // Blocked before the worker starts, so only sigwait below ever takes these signals.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);

    BoardServer server(line.options);
    const std::string path = server.start();
    if (path.empty()) {
        std::fprintf(stderr, "kelp-board: %s\n", server.error().c_str());
        return 1;
    }
    std::printf("%s\n", path.c_str());
    std::fflush(stdout);

    int received = 0;
    sigwait(&signals, &received);
    server.stop();
    return 0;
}
