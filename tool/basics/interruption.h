// Ending a long command in good order when it is interrupted.
#pragma once

#include <csignal>

namespace mersola::tool {

/// Catches SIGINT and SIGTERM while it lives; the second one of a kind ends the program at once.
class Interruption {
  public:
    Interruption();
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    /// The signal that came, 0 while none did.
    int Signal() const;

  private:
    struct sigaction beforeInterrupt_ {
    }, beforeTerminate_{};
};

}  // namespace mersola::tool
