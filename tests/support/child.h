// Work done by a process of its own, which may be killed.
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
    /// Tells the parent one line; what was told counts even when the process is killed next.
    using Acknowledge = std::function<void(const std::string&)>;
    /// The result is the process's exit status.
    explicit Child(const std::function<int(const Acknowledge&)>& work);
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// Sends it a signal; SIGKILL ends it at once.
    void Kill(int signal = SIGKILL) const;
    /// Waits for its end; 128 + the signal for a killed one.
    int Wait();
    /// All that was acknowledged; call after Wait.
    std::vector<std::string> Acknowledged() const;

  private:
    pid_t process_ = -1;
    int pipe_ = -1;
    std::string heard_;
};

}  // namespace mersola::test
