#include <algorithm>
#include <array>
#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <vector>

#include "bit_packing.h"
#include "column_codec.h"
#include "column_format.h"

namespace mersola::packed {
namespace {

bool SameBits(double a, double b) {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

constexpr std::uint64_t Above(std::int64_t number, std::int64_t base) {
    return static_cast<std::uint64_t>(number) - static_cast<std::uint64_t>(base);
}

constexpr std::uint64_t Step(std::int64_t before, std::int64_t number) {
    return ZigZag(static_cast<std::int64_t>(Above(number, before)));
}

std::size_t VarintSize(std::uint64_t number) {
    return (static_cast<std::size_t>(std::bit_width(number | 1)) + 6) / 7;
}

/// A column as integers of one kind.
struct Integers {
    unsigned kind = kDoubles;
    std::size_t misfits = 0;  // numbers that are none of the kind
    std::array<std::int64_t, kMostInColumn> keys;
    std::array<std::uint8_t, kMostInColumn> fits;
};

void CountMisfits(std::size_t count, Integers& out) {
    std::size_t fits = 0;
    for (std::size_t i = 0; i < count; ++i)
        fits += out.fits[i];
    out.misfits = count - fits;
}

// The loops over a column are written so that compilers turn them into vector instructions.

template <typename Number>
void AsDecimals(std::span<const double> values, unsigned places, Integers& out) {
    constexpr bool isFloat = sizeof(Number) == sizeof(float);
    constexpr double kMost = isFloat ? 0x1p31 : 0x1p51;
    out.kind = (isFloat ? kFloatDecimals : kDecimals) + places;
    const double power = kPowers[places];
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double wide = values[i] * power;
        const double shifted = (std::abs(wide) < kMost ? wide : 0) + kShifter;
        out.keys[i] =
            static_cast<std::int64_t>(std::bit_cast<std::uint64_t>(shifted) - kShifterBits);
        out.fits[i] = SameBits(static_cast<Number>((shifted - kShifter) / power), values[i]);
    }
    CountMisfits(values.size(), out);
}

void AsFloats(std::span<const double> values, Integers& out) {
    out.kind = kFloats;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const auto number = static_cast<float>(std::abs(values[i]) <= FLT_MAX ? values[i] : 0);
        out.keys[i] = Ordered(std::bit_cast<std::int32_t>(number));
        out.fits[i] = SameBits(number, values[i]);
    }
    CountMisfits(values.size(), out);
}

void AsDoubles(std::span<const double> values, Integers& out) {
    out.kind = kDoubles;
    out.misfits = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        out.keys[i] = Ordered(std::bit_cast<std::int64_t>(values[i]));
        out.fits[i] = 1;
    }
}

/// A few numbers from all over a column, which tell what is not worth a look at the rest.
class Sample {
  public:
    explicit Sample(std::span<const double> values)
        : size_(std::min(values.size(), numbers_.size())) {
        for (std::size_t i = 0; i < size_; ++i)
            numbers_[i] = values[i * values.size() / size_];
    }

    std::span<const double> Numbers() const { return std::span(numbers_).first(size_); }

  private:
    std::array<double, 8> numbers_;
    std::size_t size_;
};

/// How integers are packed.
struct Plan {
    unsigned kind = kDoubles;
    bool differences = false;
    unsigned width = 64;
    std::int64_t base = 0;
    std::array<std::uint16_t, kMostTops> tops;  // of split numbers
    std::size_t topCount = 0;
    std::size_t cost = SIZE_MAX;  // bytes
};

// But for the numbers of the exceptions, which may all be one.
std::size_t Cost(std::size_t count, unsigned width, std::size_t base, std::size_t exceptions) {
    return 2 + base + PackedSize(count, width) + (exceptions ? 1 + exceptions : 0);
}

void Improve(const Plan& plan, Plan& best) {
    if (plan.cost < best.cost) best = plan;
}

/// Packs what lies above a base: with the range that is cheapest, beside which all are exceptions.
void PlanFrame(std::size_t count, const Integers& integers, Plan& best) {
    std::array<std::int64_t, kMostInColumn> sorted;
    std::size_t fitting = 0;
    for (std::size_t i = 0; i < count; ++i) {
        sorted[fitting] = integers.keys[i];
        fitting += integers.fits[i];
    }
    if (fitting == 0) return;
    std::sort(sorted.begin(), sorted.begin() + static_cast<std::ptrdiff_t>(fitting));

    Plan plan;
    plan.kind = integers.kind;
    const auto consider = [&](std::size_t first, std::size_t last, std::size_t numbers) {
        plan.base = sorted[first];
        plan.width = WidthOf(Above(sorted[last], plan.base));
        plan.cost = 8 * numbers + Cost(count, plan.width, VarintSize(ZigZag(plan.base)),
                                       count - (last - first + 1));
        Improve(plan, best);
    };
    const std::size_t all = fitting - 1;
    consider(0, all, integers.misfits);
    if (integers.misfits == 0 && sorted[0] != sorted[all]) {
        // A level that stands for silence, say, or for too much, again and again.
        std::size_t first = 0;
        while (sorted[first] == sorted[0])
            ++first;
        consider(first, all, 1);
        std::size_t last = all;
        while (sorted[last] == sorted[all])
            --last;
        consider(0, last, 1);
    }
    const unsigned widest = WidthOf(Above(sorted[all], sorted[0]));
    for (unsigned width = std::min(widest, kWidestPacked + 1); width-- > 0;) {
        std::size_t mostFirst = 0;
        std::size_t most = 0;
        for (std::size_t first = 0, last = 0; last < fitting; ++last) {
            while (Above(sorted[last], sorted[first]) >> width)
                ++first;
            if (last - first + 1 > most) {
                most = last - first + 1;
                mostFirst = first;
            }
        }
        if (2 * most < count) break;
        consider(mostFirst, mostFirst + most - 1, count - most);
    }
}

/// Packs the difference to the number before; exceptions are passed over.
void PlanDifferences(std::size_t count, const Integers& integers, Plan& best) {
    std::size_t first = 0;
    while (first < count && !integers.fits[first])
        ++first;
    if (first == count) return;
    std::array<std::size_t, 65> widths{};
    std::int64_t before = integers.keys[first];
    for (std::size_t i = first; i < count; ++i) {
        if (!integers.fits[i]) continue;
        ++widths[static_cast<std::size_t>(std::bit_width(Step(before, integers.keys[i])))];
        before = integers.keys[i];
    }
    Plan plan;
    plan.kind = integers.kind;
    plan.differences = true;
    plan.base = integers.keys[first];
    const std::size_t baseSize = VarintSize(ZigZag(plan.base));
    const auto cost = [&](std::size_t exceptions) {
        return 8 * exceptions + Cost(count, plan.width, baseSize, exceptions);
    };
    // The widest differences go in pairs, to an outlier and back: one exception spares both.
    unsigned guess = 0;
    std::size_t leastCost = best.cost;
    std::size_t wider = 0;
    for (unsigned width = 65; width-- > 0; wider += widths[width]) {
        if (!IsWidth(width)) continue;
        plan.width = width;
        const std::size_t guessed = cost(integers.misfits + (wider + 1) / 2);
        if (guessed < leastCost) {
            leastCost = guessed;
            guess = width;
        }
    }
    if (leastCost == best.cost) return;
    plan.width = guess;
    std::size_t exceptions = 0;
    before = plan.base;
    for (std::size_t i = 0; i < count; ++i) {
        if (!integers.fits[i] || WidthOf(Step(before, integers.keys[i])) > plan.width) {
            ++exceptions;
        } else {
            before = integers.keys[i];
        }
    }
    plan.cost = cost(exceptions);
    Improve(plan, best);
}

std::uint64_t BitsOf(const Integers& floating, std::size_t i) {
    return floating.kind == kFloats
               ? static_cast<std::uint32_t>(Ordered(static_cast<std::int32_t>(floating.keys[i])))
               : static_cast<std::uint64_t>(Ordered(floating.keys[i]));
}

/// Splits off sign and exponent, of which levels around zero have many that lie far apart.
void PlanSplit(std::size_t count, const Integers& floating, Plan& best) {
    Plan plan;
    plan.kind = floating.kind == kFloats ? kSplitFloats : kSplitDoubles;
    const unsigned fraction = FractionBits(plan.kind);
    std::array<std::uint16_t, kMostInColumn> tops;
    std::size_t fitting = 0;
    for (std::size_t i = 0; i < count; ++i) {
        tops[fitting] = static_cast<std::uint16_t>(BitsOf(floating, i) >> fraction);
        fitting += floating.fits[i];
    }
    const auto end = tops.begin() + static_cast<std::ptrdiff_t>(fitting);
    std::sort(tops.begin(), end);
    struct Run {
        std::uint16_t top;
        std::size_t size;
    };
    std::vector<Run> runs;
    for (auto at = tops.begin(); at != end;) {
        const auto next = std::upper_bound(at, end, *at);
        runs.push_back({*at, static_cast<std::size_t>(next - at)});
        at = next;
    }
    std::ranges::stable_sort(runs, std::ranges::greater(), &Run::size);
    std::size_t taken = 0;
    for (unsigned bits = 0; bits <= 5; ++bits) {
        const std::size_t room = std::min(std::size_t{1} << bits, runs.size());
        while (plan.topCount < room) {
            plan.tops[plan.topCount] = runs[plan.topCount].top;
            taken += runs[plan.topCount++].size;
        }
        plan.width = fraction + bits;
        plan.cost = 8 * (count - taken) + Cost(count, plan.width, 1 + 2 * room, count - taken);
        Improve(plan, best);
        if (room == runs.size()) break;
    }
}

/// What is written of each number: as packed, or in full.
struct Parts {
    std::array<std::uint64_t, kMostInColumn> packed;
    std::array<std::uint8_t, kMostInColumn> positions;  // of the exceptions
    std::size_t exceptions = 0;

    void Except(std::size_t i) {
        positions[exceptions++] = static_cast<std::uint8_t>(i);
        packed[i] = 0;
    }
};

void Split(std::size_t count, const Integers& integers, const Plan& plan, Parts& parts) {
    const unsigned fraction = FractionBits(plan.kind);
    const auto begin = plan.tops.begin();
    const auto end = begin + static_cast<std::ptrdiff_t>(plan.topCount);
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint64_t bits = BitsOf(integers, i);
        const auto top = std::lower_bound(begin, end, bits >> fraction);
        if (!integers.fits[i] || top == end || *top != bits >> fraction) {
            parts.Except(i);
        } else {
            const std::uint64_t mask = (std::uint64_t{1} << fraction) - 1;
            parts.packed[i] = static_cast<std::uint64_t>(top - begin) << fraction | (bits & mask);
        }
    }
}

void Frame(std::size_t count, const Integers& integers, const Plan& plan, Parts& parts) {
    std::int64_t before = plan.base;
    for (std::size_t i = 0; i < count; ++i) {
        const std::int64_t key = integers.keys[i];
        const std::uint64_t number = plan.differences ? Step(before, key) : Above(key, before);
        if (!integers.fits[i] || WidthOf(number) > plan.width) {
            parts.Except(i);
            continue;
        }
        parts.packed[i] = number;
        if (plan.differences) before = key;
    }
}

void Emit(std::span<const double> values, const Integers& integers, Plan plan, std::string& out) {
    Parts parts;
    const auto tops = std::span(plan.tops).first(plan.topCount);
    if (IsSplit(plan.kind)) {
        std::ranges::sort(tops);
        Split(values.size(), integers, plan, parts);
    } else {
        Frame(values.size(), integers, plan, parts);
    }
    const auto positions = std::span(parts.positions).first(parts.exceptions);
    const bool same = std::ranges::all_of(
        positions, [&](std::size_t i) { return SameBits(values[i], values[positions[0]]); });
    unsigned mark = plan.kind;
    if (plan.differences) mark |= kDifferences;
    if (parts.exceptions) mark |= kExceptions | (same ? kOneException : 0);
    PutByte(mark, out);
    PutByte(plan.width, out);
    if (IsSplit(plan.kind)) {
        PutVarint(tops.size() - 1, out);
        unsigned before = 0;
        for (const auto top : tops) {
            PutVarint(top - before, out);
            before = top;
        }
    } else {
        PutVarint(ZigZag(plan.base), out);
    }
    if (parts.exceptions) {
        PutByte(static_cast<unsigned>(parts.exceptions - 1), out);
        for (const auto i : positions)
            PutByte(i, out);
        for (const auto i : positions.first(same ? 1 : positions.size())) {
            PutLittle(std::bit_cast<std::uint64_t>(values[i]), out);
        }
    }
    Pack(parts.packed.data(), values.size(), plan.width, out);
}

/// Packs all above the least.
void EmitAll(std::span<const double> values, const Integers& integers, std::string& out) {
    std::int64_t least = integers.keys[0];
    std::int64_t greatest = integers.keys[0];
    for (const auto key : std::span(integers.keys).first(values.size())) {
        least = std::min(least, key);
        greatest = std::max(greatest, key);
    }
    Plan plan;
    plan.kind = integers.kind;
    plan.width = WidthOf(Above(greatest, least));
    plan.base = least;
    Emit(values, integers, plan, out);
}

bool AreFew(std::size_t misfits, std::size_t count) {
    return misfits * 4 <= count;
}

/// Tries the places from none up. Calls when most numbers are such decimals, until all are; then
/// it returns true.
template <typename Number, typename Call>
bool TryDecimals(std::span<const double> values, Integers& integers, const Call& call) {
    const Sample sample(values);
    for (unsigned places = 0; places <= kMostPlaces; ++places) {
        AsDecimals<Number>(sample.Numbers(), places, integers);
        if (!AreFew(integers.misfits, sample.Numbers().size())) continue;
        AsDecimals<Number>(values, places, integers);
        if (AreFew(integers.misfits, values.size())) call();
        if (integers.misfits == 0) return true;
    }
    return false;
}

}  // namespace

void EncodeColumn(std::span<const double> values, std::string& out) {
    const std::size_t count = values.size();
    if (count == 0) return;
    Integers integers, chosen;
    Plan best;
    const auto consider = [&] {
        const std::size_t cost = best.cost;
        PlanFrame(count, integers, best);
        PlanDifferences(count, integers, best);
        if (integers.kind >= kFloats) PlanSplit(count, integers, best);
        if (best.cost < cost) chosen = integers;
    };
    if (!TryDecimals<double>(values, integers, consider)) {
        AsFloats(values, integers);
        const std::size_t noFloats = integers.misfits;
        if (AreFew(noFloats, count)) {
            consider();
            TryDecimals<float>(values, integers, consider);
        }
        if (noFloats > 0) {
            AsDoubles(values, integers);
            consider();
        }
    }
    Emit(values, chosen, best, out);
}

void EncodeColumnQuickly(std::span<const double> values, std::string& out) {
    if (values.empty()) return;
    Integers integers;
    if (!TryDecimals<double>(values, integers, [] {})) {
        AsFloats(values, integers);
        if (integers.misfits > 0) AsDoubles(values, integers);
    }
    EmitAll(values, integers, out);
}

}  // namespace mersola::packed
