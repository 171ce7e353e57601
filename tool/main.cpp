// The program: hands its arguments to the commands.
#include <csignal>
#include <iostream>

#include "cli.h"

int main(int argc, char** argv) {
    std::signal(SIGPIPE,
                SIG_IGN);  // a reader that went away is a failure to be told, not a sudden end
    std::ios::sync_with_stdio(false);
    return mersola::tool::RunTool(argc, argv, std::cout, std::cerr);
}
