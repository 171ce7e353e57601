// Deleting what measurements hold, piece by piece, in an order in which nothing loses its owner.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <mersola/mersola.h>

#include "pieces.h"
#include "recording_files.h"
#include "retention.h"

namespace mersola {

/// All its operations raise _com_error and Stopped.
class Deletion {
  public:
    Deletion(const _ConnectionPtr& connection, const DeletionOptions& options);

    void DeleteInstrument(int groupId);
    void DeleteMeasurement(int groupId, int measId);
    void DeleteOld(std::optional<int> groupId, const CTimeEx& before);
    /// `condition` is appended to others.
    void DeleteValues(int groupId, int measId, const CTimeEx& from, const CTimeEx& to,
                      const CString& condition);
    /// Gives the room of what was deleted back to the system, where it is more than so many pages.
    void GiveBackRoom(std::int64_t keptPages = 0);

    const DeletionProgress& Progress() const { return pieces_.progress; }

  private:
    struct Report {
        int groupId, measId, reportId;
    };

    Statements Runner();
    OldMeasurement Whole(int groupId, int measId);
    void CarryOut(const OldMeasurement& measurement, const CTimeEx* before);
    void DeletePeriods(const Report& report, const OldPeriods& periods);
    void DeletePiece(int measValueId, std::int64_t first, std::int64_t end,
                     const CString& condition);
    void Walk(const OldPeriods& periods,
              const std::function<std::optional<std::int32_t>(std::int64_t from)>& next,
              const std::function<void(std::int64_t first, std::int64_t end)>& deletePiece);
    std::optional<std::int32_t> NextStored(int measValueId,
                                           std::optional<std::int64_t> from = {}) const;
    std::int64_t PeriodsOfBlock() const;
    std::int64_t EndOfPiece(int measValueId, std::int64_t first, std::int64_t end);
    bool RaiseLowest(const Report& report, std::int64_t period, bool isToBeDone);
    void DeleteMarkers(const CString& condition);
    std::set<std::string> PathsToKeep(const CString& condition) const;
    void DeleteFiles(const std::set<CString>& paths, const std::set<std::string>& kept);
    void HoldReports(const CString& scope);
    void DeleteRest(const CString& scope);

    Pieces pieces_;
    std::optional<RecordingFiles> files_;
    Portion periods_{PeriodsOfBlock()}, single_;
    Portion pages_{.most = 256};  // most of the time goes into the commit
    bool keepsLowest_;
};

}  // namespace mersola
