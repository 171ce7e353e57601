#include "child.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>
#include <stdexcept>

namespace mersola::test {

Child::Child(const std::function<int(const Acknowledge&)>& work) {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("no pipe");
    process_ = fork();
    if (process_ < 0) throw std::runtime_error("no process");
    if (process_ == 0) {
        close(ends[0]);
        const int status = work([out = ends[1]](const std::string& line) {
            const std::string whole = line + '\n';  // one write below the pipe's atomic size
            if (write(out, whole.data(), whole.size()) < 0) std::abort();
        });
        _exit(status);  // without the parent's destructors
    }
    close(ends[1]);
    pipe_ = ends[0];
}

Child::~Child() {
    if (process_ > 0) {
        Kill();
        Wait();
    }
}

void Child::Kill(int signal) const {
    kill(process_, signal);
}

bool Child::HasEnded() const {
    siginfo_t ended{};
    return waitid(P_PID, static_cast<id_t>(process_), &ended, WEXITED | WNOHANG | WNOWAIT) != 0 ||
           ended.si_pid != 0;
}

int Child::Wait() {
    char buffer[4096];
    for (ssize_t count = 0; (count = read(pipe_, buffer, sizeof buffer)) > 0;) {
        heard_.append(buffer, static_cast<std::size_t>(count));
    }
    close(pipe_);
    int status = 0;
    waitpid(process_, &status, 0);
    process_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::vector<std::string> Child::Acknowledged() const {
    std::vector<std::string> lines;
    std::istringstream heard(heard_);
    for (std::string line; std::getline(heard, line);)
        lines.push_back(line);
    return lines;
}

}  // namespace mersola::test
