// The program: hands its arguments to the commands.
#include <fcntl.h>

#include <csignal>
#include <iostream>

#include "cli.h"

namespace {

// A closed standard stream would be replaced by the next file that is opened, a log or a database,
// and results be written into that. First of all, hence, before the library opens its log: a
// placeholder that refuses to be written to.
[[gnu::constructor(101)]] void HoldStandardStreams() {
    for (int stream = 0; stream <= 2; ++stream) {
        if (fcntl(stream, F_GETFD) < 0) static_cast<void>(open("/dev/null", O_RDONLY));
    }
}

}  // namespace

int main(int argc, char** argv) {
    // A reader that went away, and a file that may not grow, are failures to be told of.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    std::ios::sync_with_stdio(false);
    return mersola::tool::RunTool(argc, argv, std::cout, std::cerr);
}
