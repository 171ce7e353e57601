// How many values there are, and the room that they take, at a cost that does not grow with them.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include <mersola/mersola.h>

#include "database/format.h"

namespace mersola::tool {

/// Of several parts together they are added up.
struct Amount {
    std::int64_t values = 0;
    std::int64_t bytes = 0;   ///< always an estimate; 0 where nobody can tell, as on a server
    bool isEstimate = false;  ///< the values, too
    bool isUnread = false;    ///< there are others, in blocks that are damaged

    Amount& operator+=(const Amount& other);
    /// "1 value", "about 5000 values, about 200 kB".
    std::string Text() const;
};

/// The periods of one report: `first` up to, and without, `end`.
struct KeyedPeriods {
    std::int32_t key;
    std::int64_t first, end;
};

/// Only the values of one channel or function, or both.
struct PartOfValues {
    std::optional<std::int32_t> channel, function;

    /// To be appended to conditions; `table` is empty or ends with a point.
    std::string Condition(const std::string& table) const;
};

class Room {
  public:
    /// Each raises _com_error when the database cannot be read.
    explicit Room(Mersola& store);
    Room(Mersola& store, const Keeping& keeping);

    /// Of many periods it looks at the ends of a few parts of the same length.
    Amount Of(const KeyedPeriods& periods, const PartOfValues& part = {}) const;

    using Sums = std::map<std::int32_t, std::int64_t>;  ///< by key

    /// How many bytes the values of each report take, more roughly. It decodes nothing, and the
    /// number of statements does not grow with that of the reports. Nothing where a block in which
    /// a report begins is damaged.
    Sums BytesOfAll() const;

    /// "file of 120 MB, 35 MB of it free"; empty where the database is no file.
    std::string FileText() const;

  private:
    // `periods`: a SELECT of k, f and c: a key, its first period and how many there are.
    Sums ValuesOf(const std::string& periods, int parts, const PartOfValues& part) const;
    Sums BytesOf(const std::string& periods, int parts, const PartOfValues& part) const;

    Mersola& store_;
    bool isFile_, isPacked_, isConverted_;
};

}  // namespace mersola::tool
