// A class has the values whose upper 24 bits as a float are the same. In their order, bits of
// floats are numbers in the order of the floats.
#include "distribution.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <functional>

namespace mersola {

void Distribution::Add(double value) {
    ++count_;
    isSorted_ = false;
    if (!pages_.empty()) return Count(value);
    kept_.push_back(value);
    if (kept_.size() <= kMostKept) return;
    pages_.resize(4096);
    for (const double each : kept_)
        Count(each);
    kept_ = {};
}

void Distribution::Clear() {
    count_ = 0;
    kept_.clear();
    pages_.clear();
}

void Distribution::Count(double value) {
    const auto bits = std::bit_cast<std::uint32_t>(static_cast<float>(value));
    const std::uint32_t key = (bits ^ (bits >> 31 ? 0xFFFFFFFFu : 0x80000000u)) >> 8;
    auto& page = pages_[key >> 12];
    if (!page) page = std::make_unique<Page>();
    Class& counted = (*page)[key & 0xFFF];
    if (counted.count++ == 0 || value < counted.least) counted.least = value;
}

double Distribution::At(std::int64_t rank) {
    if (pages_.empty()) {
        if (!isSorted_) std::ranges::sort(kept_, std::greater());
        isSorted_ = true;
        return kept_[static_cast<std::size_t>(rank)];
    }
    for (auto page = pages_.rbegin(); page != pages_.rend(); ++page) {
        if (!*page) continue;
        for (auto each = (*page)->rbegin(); each != (*page)->rend(); ++each) {
            rank -= each->count;
            if (rank < 0) return each->least;
        }
    }
    return 0;  // there is no such rank
}

double Distribution::ExceededFor(double percentage) {
    const double place = percentage / 100 * static_cast<double>(count_ - 1);
    const auto rank = static_cast<std::int64_t>(place);
    const double part = place - static_cast<double>(rank);
    const double value = At(rank);
    return part > 0 ? value + (At(rank + 1) - value) * part : value;
}

}  // namespace mersola
