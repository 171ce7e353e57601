// Long work in short transactions.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>

#include <mersola/mersola.h>

namespace mersola::tool {

/// Takes turns with whoever else writes: each transaction is short, and before the next one there
/// is a pause in which others get in. On a server nobody has to wait, and there is none.
class Turns {
  public:
    /// `least` and `most`: how much a transaction takes, in units of the caller's.
    Turns(Mersola& store, std::size_t least, std::size_t most);

    /// How much the next transaction is to take, as the last ones took their time.
    std::size_t Portion() const { return portion_; }

    /// Runs `work` in a transaction of its own. Raises _com_error, and what `work` raises; nothing
    /// of it is stored then.
    void Take(const std::function<void()>& work);

  private:
    using Clock = std::chrono::steady_clock;

    Mersola& store_;
    bool isAlone_;  // with its lock
    std::size_t least_, most_, portion_;
    Clock::time_point ended_{};  // the last turn,
    Clock::duration taken_{};    // which was so long
};

}  // namespace mersola::tool
