// A contest: rivals do the same work in one run, so that what is told of them is a ratio.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

/// Each iteration of the benchmark has every rival work once, another one first each time, so that
/// whatever else the machine does falls on all of them alike.
class Contest {
  public:
    /// `before` runs ahead of each turn and is not timed.
    void Enter(std::string name, std::function<void()> work,
               std::function<void()> before = nullptr);

    /// Runs all iterations. One turn of a rival handles `items` items. The label of the result
    /// tells for each rival the median time of a turn, its rate, and its rate as a share of the
    /// best one's.
    void Run(benchmark::State& state, double items);

  private:
    struct Rival {
        std::string name;
        std::function<void()> work;
        std::function<void()> before;
        std::vector<double> seconds;  // of each turn
    };

    std::vector<Rival> rivals_;
};
