// What a transaction wrote and has not yet put into the tables.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <unordered_map>
#include <vector>

#include "block.h"
#include "period_row.h"
#include "statuses.h"

namespace mersola::packed {

struct ValueKey {
    std::int32_t measValueId = 0;
    std::int32_t periodNo = 0;
    std::int32_t channel = 0;
    std::int32_t funcId = 0;
    std::int32_t frqId = 0;

    bool operator==(const ValueKey&) const = default;
    Series SeriesOf() const { return {measValueId, channel, funcId}; }
};

/// The status must be valid as long as the call that it is handed to.
struct ValueRow : ValueKey {
    bool isNull = false;
    double value = 0;
    StatusView status;
};

struct StagedValue {
    PeriodValue value;
    bool isErased = false;
    bool mayReplace = false;  // another value of the key may be stored
};

struct StagedPeriod {
    std::vector<StagedValue> values;  // ascending, each key once
    bool isPendingKnown = false;
    PeriodRow pending;  // what the table holds
};

/// What lies in the table of blocks for one series and block.
struct SealedBlock {
    bool exists = false;
    bool hasRows = false;  // in the table of rows, wherever in the block
    std::int32_t firstPeriod = 0;
    std::int32_t lastPeriod = 0;
    std::int64_t dataId = 0;
    std::unique_ptr<SeriesBlock> decoded;  // when it was needed
};

struct BlockKey {
    std::int32_t channel;
    std::int32_t funcId;
    std::int32_t block;

    bool operator==(const BlockKey&) const = default;
};

struct HashBlockKey {
    std::size_t operator()(const BlockKey& key) const {
        std::uint64_t hash = static_cast<std::uint32_t>(key.channel);
        hash = hash * 0x9E3779B97F4A7C15u + static_cast<std::uint32_t>(key.funcId);
        hash = hash * 0x9E3779B97F4A7C15u + static_cast<std::uint32_t>(key.block);
        return static_cast<std::size_t>(hash ^ (hash >> 32));
    }
};

struct StagedReport {
    std::map<std::int32_t, StagedPeriod> periods;
    std::unordered_map<BlockKey, SealedBlock, HashBlockKey> sealed;
};

struct Stage {
    std::map<std::int32_t, StagedReport> reports;
    StatusTable statuses;
    std::size_t values = 0;   // staged ones
    std::size_t decoded = 0;  // blocks that are held decoded
};

}  // namespace mersola::packed
