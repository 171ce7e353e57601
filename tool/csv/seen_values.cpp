// Runs of periods, and the lines that they stood in.
#include "seen_values.h"

#include <iterator>

namespace mersola::tool {

std::optional<std::size_t> SeenValues::Add(const Series& series, std::int32_t period,
                                           std::size_t line) {
    auto& runs = runs_[series];
    const auto behind = runs.upper_bound(period);
    if (behind != runs.begin()) {
        auto& [first, run] = *std::prev(behind);
        const auto place = std::int64_t{period} - first;
        if (place < run.count) return run.line + static_cast<std::size_t>(place) * run.step;
        if (run.count == 1) run.step = line - run.line;
        if (place == run.count && line == run.line + static_cast<std::size_t>(place) * run.step) {
            ++run.count;
            return std::nullopt;
        }
    }
    runs.emplace_hint(behind, period, Run{1, line, 0});
    return std::nullopt;
}

}  // namespace mersola::tool
