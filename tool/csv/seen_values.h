// Where in a file the values stood that came by.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <tuple>

namespace mersola::tool {

/// Remembers the line of each value. Rows that follow one another take no room of their own.
class SeenValues {
  public:
    /// Value key, channel, function and band.
    using Series = std::tuple<std::int32_t, std::int32_t, std::int32_t, std::int32_t>;

    /// The line of the value that the series has in this period already. If there is none, this one
    /// is remembered.
    std::optional<std::size_t> Add(const Series& series, std::int32_t period, std::size_t line);

  private:
    // Periods one behind the other, in lines at the same distance.
    struct Run {
        std::int64_t count;
        std::size_t line, step;
    };
    std::map<Series, std::map<std::int32_t, Run>> runs_;  // by the first period
};

}  // namespace mersola::tool
