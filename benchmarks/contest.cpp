// Taking turns, and the table of the result.
#include "contest.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <utility>

namespace {

double Median(std::vector<double>& values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}

}  // namespace

void Contest::Enter(std::string name, std::function<void()> work, std::function<void()> before) {
    rivals_.push_back({std::move(name), std::move(work), std::move(before), {}});
}

void Contest::Run(benchmark::State& state, double items) {
    using Clock = std::chrono::steady_clock;
    std::size_t first = 0;
    for (auto _ : state) {
        for (std::size_t turn = 0; turn < rivals_.size(); ++turn) {
            Rival& rival = rivals_[(first + turn) % rivals_.size()];
            if (rival.before) rival.before();
            const auto start = Clock::now();
            rival.work();
            rival.seconds.push_back(std::chrono::duration<double>(Clock::now() - start).count());
        }
        ++first;
    }
    std::vector<double> medians;
    for (Rival& rival : rivals_)
        medians.push_back(Median(rival.seconds));
    const double best = *std::ranges::min_element(medians);
    std::string table;
    for (std::size_t i = 0; i < rivals_.size(); ++i) {
        char line[160];
        std::snprintf(line, sizeof line, "\n    %-84s %10.3f ms %12.0f/s  %5.2f of the best",
                      rivals_[i].name.c_str(), medians[i] * 1e3, items / medians[i],
                      best / medians[i]);
        table += line;
    }
    state.SetLabel(table);
}
