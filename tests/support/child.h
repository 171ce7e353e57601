// Does work in a process of its own, which may be killed.
#pragma once

#include <sys/types.h>

#include <csignal>
#include <functional>
#include <string>
#include <vector>

namespace mersola::test {

/// Runs `work` in a forked process. What it acknowledges is read here until it ends.
class Child {
  public:
    /// Sends one line to the parent. What was sent counts even when the process is killed next.
    using Acknowledge = std::function<void(const std::string&)>;
    /// The result is the process's exit status.
    explicit Child(const std::function<int(const Acknowledge&)>& work);
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// Sends the process a signal. SIGKILL ends it at once.
    void Kill(int signal = SIGKILL) const;
    /// Whether the process is over. Wait does not wait then.
    bool HasEnded() const;
    pid_t Id() const { return process_; }
    /// Waits for the end of the process, and returns its exit status, or 128 + the signal when it
    /// was killed.
    int Wait();
    /// All lines that were acknowledged. Call it after Wait.
    std::vector<std::string> Acknowledged() const;

  private:
    pid_t process_ = -1;
    int pipe_ = -1;
    std::string heard_;
};

}  // namespace mersola::test
