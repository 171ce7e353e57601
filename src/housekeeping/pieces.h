// Long work in short transactions.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>

#include <mersola/deletion.h>
#include <mersola/platform/ado.h>
#include <mersola/platform/text.h>

#include "engines/engine.h"

namespace mersola {

/// How much a transaction takes, in a unit of the caller's. It follows from how long the last ones
/// took.
struct Portion {
    std::int64_t size = 1;
    std::int64_t least = size;
    std::int64_t most = std::int64_t{1} << 20;
};

/// Raised when the caller wants to stop.
struct Stopped {};

class Pieces {
  public:
    /// Raises _com_error inside a transaction of the caller's, and where nothing can be deleted.
    Pieces(_ConnectionPtr connection, const DeletionOptions& options);

    _RecordsetPtr Run(const CString& sql) const;
    /// The first field of the first row; nothing without a row and for a null.
    std::optional<std::int32_t> Ask(const CString& sql) const;
    /// Null for an engine that is not known.
    const Engine* EngineOf() const { return engine_; }
    /// Whether whoever writes keeps all others from writing.
    bool IsAlone() const { return engine_ && engine_->hasOneWriter; }

    /// Runs `work` in a transaction of its own, pauses in front of it as long as the one before it
    /// took, and tells the caller about it. Raises Stopped when it is committed, and what `work`
    /// raises; nothing of the work is stored then.
    void Take(Portion& portion, const std::function<void()>& work);

    DeletionProgress progress;

  private:
    using Clock = std::chrono::steady_clock;

    _ConnectionPtr connection_;
    const DeletionOptions& options_;
    const Engine* engine_;
    Clock::time_point next_{};  // when the pause is over
};

}  // namespace mersola
