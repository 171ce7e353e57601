// Measuring how long a transaction takes, and making the next one fit.
#include "turns.h"

#include <algorithm>
#include <thread>

#include "open_database.h"

namespace mersola::tool {
namespace {

using namespace std::chrono_literals;

// Programs that wait in SQLite's own way look at its lock now and then: every 25 ms at most for the
// first 128 ms, then every 50, and after 228 every 100. So they do not miss a pause that is half as
// long as the turn before it. Those with this library look every millisecond.
constexpr auto kPause = 30ms;
constexpr auto kAloneAim = 40ms;
constexpr auto kServerAim = 250ms;  // most of it on the way there and back

}  // namespace

Turns::Turns(Mersola& store, std::size_t least, std::size_t most)
    : store_(store),
      isAlone_(EngineOf(store).hasOneWriter),
      least_(least),
      most_(most),
      portion_(least) {}

void Turns::Take(const std::function<void()>& work) {
    if (isAlone_)
        std::this_thread::sleep_until(ended_ + std::max<Clock::duration>(kPause, taken_ / 2));
    Transaction transaction(store_);
    const auto begun = Clock::now();
    work();
    const std::chrono::duration<double> worked = Clock::now() - begun;
    transaction.Commit();  // to the disk, which takes its time however little it is
    ended_ = Clock::now();
    taken_ = ended_ - begun;
    const std::chrono::duration<double> aim = isAlone_ ? kAloneAim : kServerAim;
    const double fitting = static_cast<double>(portion_) * std::clamp(aim / worked, 0.25, 2.0);
    portion_ = std::clamp(static_cast<std::size_t>(fitting), least_, most_);
}

}  // namespace mersola::tool
