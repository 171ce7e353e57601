// Values of steps of time in few numbers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <mersola/mersola.h>

#include "ado/provider.h"

namespace mersola {

/// The summaries of an overview while values come in.
class Overview {
  public:
    /// `out` gets a summary for each step and band.
    Overview(CArray<StepSummary, StepSummary&>& out, std::vector<std::int64_t> edges, int firstFrq,
             int nFrq, unsigned figures);

    const std::vector<std::int64_t>& Edges() const { return edges_; }
    int FirstFrq() const { return firstFrq_; }
    int EndFrq() const { return firstFrq_ + nFrq_; }
    bool NeedsValues() const { return figures_ & kMeanSquares; }

    /// Takes in values of one band and step, whose periods are `offset` less than those of edges.
    void Add(const ado::ValueSummary& values, std::int64_t offset);

    /// An extreme that is known to lie between these periods, and is not known where.
    struct Sought {
        std::int32_t* period;  ///< where to put it
        double value;
        std::int64_t first;
        std::int64_t end;
        int frqId;
    };
    /// The extremes of steps of these periods that are still to be looked for. Forgets them.
    std::vector<Sought> SoughtWithin(std::int64_t first, std::int64_t end);

    /// To be called when all values are in.
    void Finish();

  private:
    std::size_t StepOf(std::int64_t period);

    CArray<StepSummary, StepSummary&>& out_;
    std::vector<std::int64_t> edges_;
    int firstFrq_, nFrq_;
    unsigned figures_;
    std::size_t step_ = 0;              // of the last values
    std::vector<std::uint8_t> sought_;  // what is sought of each summary
};

}  // namespace mersola
