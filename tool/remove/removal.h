// From what would go to what is gone: showing it, asking, deleting.
#pragma once

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include <mersola/mersola.h>

#include "catalogue/room.h"
#include "recording_files.h"
#include "remove.h"

namespace mersola::tool {

/// What goes of a measurement, or of all of them.
struct Going {
    std::int64_t measurements = 0;  ///< that go whole
    std::int64_t periods = 0;
    Amount amount = {};
    std::int64_t markers = 0;
    FilesThere files = {};
};

class Removal {
  public:
    /// Opens the database. Raises Failure, also for a folder that is none.
    Removal(const RemovalOptions& options, std::ostream& out, std::ostream* terminal);

    Mersola& Store() { return *store_; }
    const std::string& Name() const { return name_; }
    /// "instrument 'Pier 4' (1), measurement 'noise' (1)"
    std::string Place(std::int32_t groupId, std::int32_t measId) const;

    /// The markers of a measurement: all of them, or those that have ended by `before`.
    void AddMarkers(std::int32_t groupId, std::int32_t measId, const CTimeEx* before, Going& going);

    /// Shows what goes of a measurement, and adds it up.
    void Show(std::int32_t groupId, std::int32_t measId, const Going& going);

    /// Shows the sum and asks. False where nothing is to be deleted: it was only to be shown.
    /// Raises Failure when the answer is not yes, or nobody can be asked.
    bool IsWanted();

    /// Runs an operation of the library. Raises Failure when it was stopped or failed.
    void Run(const std::function<int(const DeletionOptions&)>& operation);

    /// Says what is gone.
    void Tell() const;

  private:
    const RemovalOptions& options_;
    std::string name_;
    std::unique_ptr<Mersola> store_;
    std::ostream& out_;
    std::ostream* terminal_;
    // Files, and how many markers name each; without those that were added to what goes.
    std::optional<std::map<std::string, std::int64_t>> named_;
    Going sum_;
    DeletionProgress done_;  // by all operations
};

}  // namespace mersola::tool
