// What a recording finds stored where it is to store its own.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <mersola/mersola.h>

namespace mersola::tool {

/// The periods of a report that have values already. Every operation raises _com_error.
class StoredPeriods {
  public:
    StoredPeriods(Mersola& store, std::int32_t group, std::int32_t measurement,
                  std::int32_t report);

    /// A period's functions, each with its channel.
    std::set<std::pair<int, int>> FunctionsIn(int period) const;
    std::optional<double> Value(int period, int channel, int function, int band) const;

  private:
    Mersola& store_;
    std::int32_t key_;
    std::optional<int> last_;
};

/// Numbers of periods, to be told in few words.
class PeriodRanges {
  public:
    /// Ascending.
    void Add(int period);

    int Count() const;
    /// "period 3", "periods 0 to 7 and 12", "120 periods from 0 to 900".
    std::string Text() const;

  private:
    std::vector<std::pair<int, int>> ranges_;  // first and last
};

}  // namespace mersola::tool
