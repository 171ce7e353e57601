// What a check of a database finds, and where it looks.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include <mersola/mersola.h>

#include "schema/tables.h"

namespace mersola::tool {

/// Writes each finding as a line and counts them. Operations raise Failure when a line could not be
/// written.
class Findings {
  public:
    explicit Findings(std::ostream& out) : out_(out) {}

    /// A fault: what must never be.
    void Add(const std::string& where, const std::string& what);

    /// What may be as it is, and is worth knowing.
    void Remark(const std::string& where, const std::string& what);

    std::int64_t Count() const { return count_; }
    std::int64_t Remarks() const { return remarks_; }

  private:
    std::ostream& out_;
    std::int64_t count_ = 0;
    std::int64_t remarks_ = 0;
};

/// The tables that can be read. One that is not there as a whole is a finding.
class Layout {
  public:
    /// Raises Failure when there is no table at all.
    Layout(Mersola& store, Findings& findings);

    /// Whether the tables have all the columns that checks need.
    template <class... Tables>
    bool Has(Tables... tables) const {
        return (... && whole_.contains(tables));
    }
    /// Whether a column is there that may be missing; its table has to be one that `Has` names.
    bool HasColumn(StoredTable table, std::string_view name) const {
        return !missing_.contains({table, name});
    }

  private:
    std::set<StoredTable> whole_;
    std::set<std::pair<StoredTable, std::string_view>> missing_;
};

/// The names of instruments and measurements, for people.
class Places {
  public:
    Places(Mersola& store, const Layout& layout);

    std::string Instrument(std::int32_t groupId) const;
    std::string Measurement(std::int32_t groupId, std::int32_t measId) const;
    std::string Report(std::int32_t groupId, std::int32_t measId, std::int32_t reportId) const;

  private:
    std::map<std::int32_t, std::string> instruments_;
    std::map<std::pair<std::int32_t, std::int32_t>, std::string> measurements_;
};

/// Each looks at one kind of thing and reads the tables that it needs, if they are there.
void CheckRepeats(Mersola& store, const Layout& layout, bool isPacked, Findings& findings);
void CheckTexts(Mersola& store, const Layout& layout, Findings& findings);
void CheckOwners(Mersola& store, const Layout& layout, const Places& places, Findings& findings);
void CheckInstruments(Mersola& store, const Layout& layout, const Places& places,
                      Findings& findings);
void CheckMeasurements(Mersola& store, const Layout& layout, const Places& places,
                       Findings& findings);
void CheckReports(Mersola& store, const Layout& layout, const Places& places, Findings& findings);
void CheckMarkers(Mersola& store, const Layout& layout, const Places& places, Findings& findings);

/// Packed values that cannot be read: of one channel and function, or of all of a report.
struct UnreadValues {
    std::int32_t key;
    std::optional<std::pair<std::int32_t, std::int32_t>> series;
    std::int32_t first, last;  // periods
};

/// Decodes all packed values.
std::vector<UnreadValues> CheckBlocks(Mersola& store, const Layout& layout, Findings& findings);

/// Conditions behind MeasuredValues under which all the other values are found, each once.
std::vector<std::string> ReadableValues(Mersola& store, const std::vector<UnreadValues>& unread);

/// A report that has values behind the last period that it counts.
struct Uncounted {
    std::int32_t groupId;
    std::int32_t measId;
    std::int32_t reportId;
    std::int32_t lastPeriod;
};

/// How many values a report has, and the first period that has some.
struct StoredReport {
    std::int64_t values = 0;
    std::int32_t first = 0;
};

struct ValuesChecked {
    std::int64_t values = 0;
    std::map<std::int32_t, StoredReport> stored;  // by key
    std::vector<Uncounted> uncounted;
};

/// Reads the values once, but for those that cannot be read.
ValuesChecked CheckValues(Mersola& store, const Layout& layout, const Places& places,
                          const std::vector<UnreadValues>& unread, Findings& findings);

/// Looks again at what `checked` holds: a recorder counts a period right after it has stored it.
void CheckCounts(Mersola& store, const std::vector<Uncounted>& uncounted, const Places& places,
                 Findings& findings);

/// Tells of each measurement since when values are stored and what room they take, and of a file
/// how much of it is free.
void TellStored(Mersola& store, const Layout& layout, const Places& places,
                const std::map<std::int32_t, StoredReport>& stored, std::ostream& out);

}  // namespace mersola::tool
