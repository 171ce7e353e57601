// What deletions are asked for, and what they tell.
#pragma once

#include <mersola/platform/component.h>
#include <mersola/platform/export.h>
#include <mersola/platform/text.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace mersola {

/// How far a deletion has come. All numbers are those of this call.
struct DeletionProgress {
    std::int64_t periods = 0;       ///< periods that are done, over all reports
    std::int64_t periodsInAll = 0;  ///< what `periods` reaches; it grows where a recorder goes on
    std::int64_t measurements = 0;  ///< measurements that went whole
    std::int64_t markers = 0;       ///< markers deleted
    std::int64_t files = 0;         ///< recording files deleted
    std::int64_t filesLeft = 0;     ///< recording files that are still there; the log file says why
    std::int64_t bytesGivenBack = 0;  ///< room in the database file that the system has back
};

/// How a deletion goes about its work.
struct DeletionOptions {
    /// Called after each transaction, outside of it. False stops the deletion: it returns 0, and
    /// what was deleted by then stays so. What it raises leaves the operation, with the same
    /// effect. It must not use the connection that the deletion works on.
    std::function<bool(const DeletionProgress&)> progress = {};

    /// How long to pause after each transaction at least. Where only one program can write at a
    /// time, as on SQLite, each pause is also as long as the transaction before it, so that
    /// recorders get in.
    std::chrono::milliseconds pause{0};

    /// Whether to delete the recording files that the deleted markers name, unless another marker
    /// names the same file. Where a component "TarvelMsgClient.MsgReceiver" is registered, it is
    /// asked to; otherwise the files are those of this machine. Without either the component or
    /// `folders` the operation is refused: it returns 0 and deletes nothing.
    bool recordingFiles = false;

    /// The folders below which files of this machine may be deleted. What lies elsewhere stays, and
    /// so does what is reached through a link or "..", and all but regular files. The folders
    /// themselves may be given through links. A relative path is looked for below each of them.
    std::vector<std::string> folders = {};
};

/// Periods of one report whose values a retention deletes: `first` up to, and without, `end`.
struct OldPeriods {
    std::int32_t reportId = 0;     ///< the report
    std::int32_t measValueId = 0;  ///< the key of the values
    std::int64_t first = 0;        ///< the first period that is stored
    std::int64_t end = 0;          ///< the same as `first` where nothing is stored
};

/// A measurement from which a retention deletes.
struct OldMeasurement {
    std::int32_t groupId = 0;  ///< its instrument
    std::int32_t measId = 0;   ///< its identifier within the instrument
    bool isWhole = false;      ///< it goes with its reports, functions, keys and markers
    std::int64_t markers = 0;  ///< how many markers go
    std::vector<OldPeriods> periods = {};  ///< of its reports, in the order of their identifiers
};

/// The component that deletes recording files on the machine that holds them. A program that knows
/// how registers it under the ProgID "TarvelMsgClient.MsgReceiver" before it deletes.
class MERSOLA_EXPORT IMsgReceiver : public Component {
  public:
    /// Deletes the recording file at `path`, which is as its marker has it. Returns S_OK, S_FALSE
    /// when there is no such file, or a failure code. It may be asked for a file more than once.
    virtual HRESULT deleteFile(const CString& path) = 0;
};

}  // namespace mersola
