// Long work in short transactions.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>

#include <mersola/mersola.h>

namespace mersola::tool {

/// Takes turns with others who write: each transaction is short, and before the next one there is a
/// pause in which others get in. On a server nobody has to wait, so there is no pause.
class Turns {
  public:
    /// `least` and `most` say how much a transaction may take, in units that the caller chooses.
    Turns(Mersola& store, std::size_t least, std::size_t most);

    /// How much the next transaction should take. It follows from how long the last ones took.
    std::size_t Portion() const { return portion_; }

    /// Runs `work` in a transaction of its own. Raises _com_error, and what `work` raises; nothing
    /// of the work is stored then.
    void Take(const std::function<void()>& work);

  private:
    using Clock = std::chrono::steady_clock;

    Mersola& store_;
    bool isAlone_;  // whoever writes holds the only lock
    std::size_t least_, most_, portion_;
    Clock::time_point ended_{};  // when the last turn ended
    Clock::duration taken_{};    // how long the last turn took
};

}  // namespace mersola::tool
