// Reading passwords.
#include "credentials.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>

#include "basics/failure.h"

namespace mersola::tool {
namespace {

constexpr int kLongest = 4096;  // no password is longer

class File {
  public:
    File(const char* path, int flags) : descriptor_(open(path, flags | O_CLOEXEC)) {}
    ~File() {
        if (descriptor_ >= 0) close(descriptor_);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    int Get() const { return descriptor_; }

  private:
    int descriptor_;
};

// The text up to the end of the line, and whether reading it went well.
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

std::string ReadPasswordFile(const std::string& path) {
    const std::string name = "the password file " + Quoted(path);
    const File file(path.c_str(), O_RDONLY);
    struct stat status {};
    if (file.Get() < 0 || fstat(file.Get(), &status) != 0)
        throw Failure(name + " cannot be read (" + std::strerror(errno) + ")");
    if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0)
        throw Failure(name + " is open to others than its owner; close it with: chmod 600");
    std::string password;
    if (!ReadLine(file.Get(), password))
        throw Failure(name + " cannot be read (" + std::strerror(errno) + ")");
    if (password.empty()) throw Failure(name + " has no password in its first line");
    return password;
}

std::string AskPassword(const std::string& question) {
    const File terminal("/dev/tty", O_RDWR);
    if (terminal.Get() < 0)
        throw Failure("there is no terminal to ask for a password on; give a --password-file");
    std::string password;
    const SignalsHeld signals;
    const EchoOff silence(terminal.Get());
    const std::string shown = question + " ";
    bool isRead = write(terminal.Get(), shown.data(), shown.size()) >= 0;
    signals.WaitFor(terminal.Get());
    isRead = isRead && ReadLine(terminal.Get(), password);
    if (!isRead || password.empty())
        throw Failure("no password was given; repeat the command, or give a --password-file");
    return password;
}

}  // namespace mersola::tool
