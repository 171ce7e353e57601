// Whether bytes are what was encoded, and under which key.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace mersola::packed {

enum class Content : std::int32_t { kBlock = 1, kSummary = 2, kPeriodRow = 3 };

/// What the stored bytes belong to. They are refused anywhere else.
struct Key {
    Content content;
    std::int32_t measValueId;
    std::int32_t channel;
    std::int32_t funcId;
    std::int32_t number;  // of the block, or the period of a pending row
};

inline constexpr std::size_t kChecksumSize = 8;

/// Appends the checksum.
void Seal(const Key& key, std::string& data);

/// Returns the bytes before the checksum. Raises DamagedBlock if it does not fit.
std::span<const std::byte> Unseal(const Key& key, std::span<const std::byte> data);

}  // namespace mersola::packed
