// Questions on the terminal, whatever the standard streams are.
#include "terminal.h"

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>

#include "failure.h"

namespace mersola::tool {
namespace {

constexpr int kLongest = 4096;  // no password is longer

std::atomic<int> caughtSignal;

// Holds the signals that end or stop a program back, but for moments in which they are waited for.
class SignalsHeld {
  public:
    SignalsHeld() {
        caughtSignal = 0;
        sigset_t held;
        sigemptyset(&held);
        for (const int signal : kEnding)
            sigaddset(&held, signal);
        sigaddset(&held, SIGTSTP);
        sigprocmask(SIG_BLOCK, &held, &before_);
        waiting_ = before_;
        sigaddset(&waiting_, SIGTSTP);
        struct sigaction action {};
        action.sa_handler = [](int signal) { caughtSignal = signal; };
        for (std::size_t i = 0; i < std::size(kEnding); ++i)
            sigaction(kEnding[i], &action, &actions_[i]);
    }
    ~SignalsHeld() {
        for (std::size_t i = 0; i < std::size(kEnding); ++i)
            sigaction(kEnding[i], &actions_[i], nullptr);
        sigprocmask(SIG_SETMASK, &before_, nullptr);
    }
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;

    // Waits for a line; raises Failure when one of the signals comes first.
    void WaitFor(int terminal) const {
        pollfd input{terminal, POLLIN, 0};
        while (ppoll(&input, 1, nullptr, &waiting_) < 0 && caughtSignal == 0) {
        }
        const int signal = caughtSignal;
        if (signal == 0) return;
        static_cast<void>(!write(terminal, "\n", 1));  // off the line of the question
        throw Failure("stopped by a signal", 128 + signal);
    }

  private:
    static constexpr int kEnding[]{SIGINT, SIGTERM, SIGHUP, SIGQUIT};

    sigset_t before_{}, waiting_{};
    struct sigaction actions_[std::size(kEnding)]{};
};

class EchoOff {
  public:
    explicit EchoOff(int terminal) : terminal_(terminal) {
        if (tcgetattr(terminal, &before_) != 0)
            throw Failure("the terminal cannot hide a password; give a --password-file");
        termios silent = before_;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        silent.c_lflag |= ICANON | ECHONL;
        tcsetattr(terminal, TCSAFLUSH, &silent);
    }
    ~EchoOff() { tcsetattr(terminal_, TCSAFLUSH, &before_); }
    EchoOff(const EchoOff&) = delete;
    EchoOff& operator=(const EchoOff&) = delete;

  private:
    int terminal_;
    termios before_{};
};

}  // namespace

OpenFile::OpenFile(const char* path, int flags) : descriptor_(open(path, flags | O_CLOEXEC)) {}

OpenFile::~OpenFile() {
    if (descriptor_ >= 0) close(descriptor_);
}

bool ReadLine(int file, std::string& line) {
    for (char c = 0; line.size() < kLongest;) {
        const auto got = read(file, &c, 1);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return false;
        if (got == 0 || c == '\n') break;
        line += c;
    }
    if (line.ends_with('\r')) line.pop_back();
    return true;
}

std::optional<std::string> AskOnTerminal(const std::string& question, Echo echo) {
    const OpenFile terminal("/dev/tty", O_RDWR);
    if (terminal.Get() < 0) return std::nullopt;
    std::string answer;
    const SignalsHeld signals;
    std::optional<EchoOff> silence;
    if (echo == Echo::Off) silence.emplace(terminal.Get());
    const std::string shown = question + " ";
    const bool isAsked = write(terminal.Get(), shown.data(), shown.size()) >= 0;
    signals.WaitFor(terminal.Get());
    if (!isAsked || !ReadLine(terminal.Get(), answer)) answer.clear();
    return answer;
}

}  // namespace mersola::tool
