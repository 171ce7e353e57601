// The names and times of what a damaged file tells of.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <utility>

#include "stored_values.h"

namespace mersola::tool {

/// Collects the rows of the small tables, and describes values and losses by them.
class KnownPlaces {
  public:
    /// Takes a row of any table; it keeps what it needs.
    void Take(StoredTable table, const Row& row);

    std::string Instrument(std::int32_t group) const;
    std::string Measurement(std::int32_t group, std::int32_t meas) const;
    /// By the key of its values.
    std::string Report(std::int32_t key) const;
    std::string Series(std::int32_t key, std::int32_t channel, std::int32_t function) const;
    /// "periods 0 to 127, 2026-11-15 10:00:00.000 to 2026-11-15 10:00:16.000"
    std::string Periods(std::int32_t key, std::int32_t first, std::int32_t last) const;

    /// A line for each stretch of values, as "instrument 'Pier 4' (1), measurement 'noise' (1),
    /// report 1, channel 1, function 'Leq' (1), bands 14 to 43: 31 values in period 4, 2026-11-15
    /// 10:00:00.500". After the first hundred, one that counts the rest.
    std::vector<std::string> Lines(const ValueLosses& losses) const;

  private:
    std::string Text(const LostValues& lost) const;
    std::string Text(const UnknownValues& lost) const;
    struct ReportId {
        std::int32_t group, meas, report;
    };

    std::string Time(std::int32_t key, std::int64_t period) const;
    std::string Period(std::int32_t key, std::int32_t period) const;

    std::map<std::int32_t, std::string> instruments_, functions_, bands_;
    std::map<std::pair<std::int32_t, std::int32_t>, std::string> measurements_;
    std::map<std::pair<std::int32_t, std::int32_t>, CTimeEx> starts_;
    std::map<std::tuple<std::int32_t, std::int32_t, std::int32_t>, std::int64_t> lengths_;
    std::map<std::int32_t, ReportId> reports_;  // by the key of their values
};

}  // namespace mersola::tool
