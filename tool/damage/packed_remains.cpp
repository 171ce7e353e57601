// Blocks, their data and pending rows, as they lie in the trees.
#include "packed_remains.h"

#include <algorithm>
#include <limits>

#include "basics/failure.h"

namespace mersola::tool {
namespace {

std::int32_t Number(const Record& record, std::size_t place) {
    const auto* number =
        place < record.fields.size() ? std::get_if<std::int64_t>(&record.fields[place]) : nullptr;
    if (!number || *number != static_cast<std::int32_t>(*number))
        throw Failure("its key holds no number of 32 bits");
    return static_cast<std::int32_t>(*number);
}

std::int32_t Number(std::int64_t number) {
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(
        std::clamp<std::int64_t>(number, Limits::min(), Limits::max()));
}

std::string Bound(const KnownPlaces& places, const std::optional<TreeKey>& key, const char* none) {
    if (!key) return none;
    if (key->size() == 4)
        return places.Series(Number((*key)[0]), Number((*key)[1]), Number((*key)[2])) + ", " +
               places.Periods(Number((*key)[0]), Number((*key)[3]), Number((*key)[3]));
    if (key->size() == 2)
        return places.Report(Number((*key)[0])) + ", " +
               places.Periods(Number((*key)[0]), Number((*key)[1]), Number((*key)[1]));
    return none;
}

}  // namespace

bool IsPacked(const StoredTree& tree) {
    return tree.name == kValueBlocks || tree.name == kValueData || tree.name == kPendingValues;
}

void PackedRemains::Take(const StoredTree& tree, const Record& record) {
    if (tree.name == kValueData) {
        if (IsWhole(record)) data_.insert(record.rowid);
    } else if (tree.name == kValueBlocks && record.fields.size() > 5) {
        if (const auto* data = std::get_if<std::int64_t>(&record.fields[5]))
            blocks_[*data] = {Number(record, 0), Number(record, 1), Number(record, 2),
                              Number(record, 3), Number(record, 4)};
    }
}

std::vector<std::string> PackedRemains::WithoutData(const KnownPlaces& places) const {
    std::vector<std::string> lines;
    for (const auto& [data, block] : blocks_) {
        if (!data_.contains(data))
            lines.push_back(places.Series(block.key, block.channel, block.function) +
                            ": all values in " +
                            places.Periods(block.key, block.first, block.last));
    }
    return lines;
}

std::vector<std::string> UnknownPacked(const Remains& remains, const KnownPlaces& places,
                                       bool withBlocks) {
    std::vector<std::string> lines;
    for (const char* name : {kValueBlocks, kPendingValues}) {
        const TornTree* torn = remains.TornTable(name);
        if (std::string_view(name) == kValueBlocks && !withBlocks) continue;
        if (!torn) continue;
        for (const Gap& gap : torn->gaps)
            lines.push_back(std::string("values of ") + name + " that nothing tells of, from " +
                            Bound(places, gap.after, "the first one") + " to " +
                            Bound(places, gap.before, "the last one"));
    }
    return lines;
}

}  // namespace mersola::tool
