// Random blocks and pending rows: all kinds of values, missing cells, NULLs and statuses.
#pragma once

#include <random>

#include "packed/block.h"
#include "packed/period_row.h"

namespace mersola::packed {

/// A block as decoding makes it: without states or indexes where they say nothing.
SeriesBlock RandomBlock(std::mt19937_64& random);

PeriodRow RandomPeriod(std::mt19937_64& random);

}  // namespace mersola::packed
