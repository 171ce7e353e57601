// Markers where a level exceeds a limit while it is recorded.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include <mersola/mersola.h>

#include "acoustics/analyser.h"
#include "catalogue/measured.h"
#include "record.h"

namespace mersola::tool {

/// Reads "LAeq>65" and, for a function that is measured in bands, "Leq[1 kHz]>60". Nothing for any
/// other text.
std::optional<TriggerOptions> ParseTrigger(std::string_view text);

/// Opens a marker with the first period in which any channel exceeds the limit. Closes it where the
/// level fell, once the level has stayed down for the hold time. Every operation but the
/// constructor raises Failure or _com_error; that one raises Failure only.
class Trigger {
  public:
    /// Raises Failure when the function or band is not measured. `percentages` as recorded.
    Trigger(Mersola& store, const RecordOptions& options, std::span<const acoustics::Band> bands,
            std::span<const float> percentages);

    /// Where the recording stands among what is stored.
    struct Place {
        std::int32_t groupId;
        std::int32_t measId;
        CTimeEx first;      ///< begin of the recording's first period
        CTimeEx storedEnd;  ///< end of the last period that was stored before
        bool isResumed;
    };

    /// Call it once the measurement is registered. It closes the markers that an interrupted
    /// recording left open, except those that this recording meets again.
    void Begin(const Place& place, std::span<const PercentileFunction> percentiles);

    /// Takes the levels of the next period, which is counted from the recording's first one.
    void Add(int period, std::span<const acoustics::PeriodLevels> levels);

    /// Ends the recording after so many periods.
    void Finish(int periods);

    int Markers() const { return markers_; }

    /// The function and the band that the trigger watches, after Begin.
    int Function() const { return marker_.funcId; }
    int Band() const { return marker_.frqId; }
    double LevelOf(const acoustics::PeriodLevels& levels) const { return levelOf_(levels); }

  private:
    void ChooseBand(const TriggerOptions& asked, std::span<const acoustics::Band> bands);
    void Open(int period);
    void Close(int period);
    bool IsStored() const;
    void CloseLeftOpen(MarkerInfo& marker);

    Mersola& store_;
    std::function<double(const acoustics::PeriodLevels&)> levelOf_;
    std::optional<std::size_t> percentile_;  // its function is known once it is registered
    std::string band_;                       // its name; empty for all bands
    double limit_;
    int holdPeriods_;
    std::int64_t periodMs_;
    Place place_{};
    MarkerInfo marker_;
    CArray<MarkerInfo, MarkerInfo&> leftOpen_;
    bool isOpen_ = false;
    int below_ = 0;  // periods since the level fell
    int markers_ = 0;
};

}  // namespace mersola::tool
