#include "tds_server.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>

namespace mersola::test {

TdsServer::TdsServer(std::vector<std::string> words) {
    const std::string heard = (folder_ / "heard").string();
    words.insert(words.begin(), {"python3", MERSOLA_TDS_SERVER});
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const int out = open(heard.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    process_ = fork();
    if (process_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        dup2(out, STDOUT_FILENO);
        execvp(arguments.front(), arguments.data());
        _exit(127);
    }
    close(out);
    using namespace std::chrono;
    const auto end = steady_clock::now() + seconds(30);
    while (Lines().empty()) {
        if (process_ < 0 || waitpid(process_, nullptr, WNOHANG) != 0 || steady_clock::now() > end)
            throw std::runtime_error("no TDS listener: is python3 installed?");
        std::this_thread::sleep_for(milliseconds(20));
    }
    port_ = Lines().front();
}

TdsServer::~TdsServer() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
}

std::vector<std::string> TdsServer::Heard() {
    const auto lines = Lines();
    const auto first = lines.begin() + static_cast<std::ptrdiff_t>(told_);
    told_ = lines.size();
    return {first, lines.end()};
}

std::vector<std::string> TdsServer::Lines() const {
    std::ifstream file(folder_ / "heard");
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line) && !file.eof();)  // what ends in a line's end
        lines.push_back(line);
    return lines;
}

}  // namespace mersola::test
