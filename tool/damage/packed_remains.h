// The packed values among what a damaged file still holds.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "known_places.h"

namespace mersola::tool {

/// Whether a tree's rows are packed values.
bool IsPacked(const StoredTree& tree);

/// Collects what there is of blocks, and tells what is not.
class PackedRemains {
  public:
    /// Takes a row of a tree with packed values.
    void Take(const StoredTree& tree, const Record& record);

    /// A line for each block whose values are gone.
    std::vector<std::string> WithoutData(const KnownPlaces& places) const;

  private:
    struct Block {
        std::int32_t key, channel, function, first, last;
    };
    std::map<std::int64_t, Block> blocks_;  // by the number of their data
    std::set<std::int64_t> data_;
};

/// A line for each part of pending rows, and of blocks, of which nobody knows what was in it.
std::vector<std::string> UnknownPacked(const Remains& remains, const KnownPlaces& places,
                                       bool withBlocks);

}  // namespace mersola::tool
