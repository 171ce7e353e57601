// Which bands there are, as runs of successive ones.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "bytes.h"

namespace mersola::packed {

/// Appends the bands, which ascend; there is at least one.
void EncodeBands(std::span<const std::int32_t> bands, std::string& out);

/// Decodes so many bands, and raises DamagedBlock if there are fewer or more than 32-bit ones.
void DecodeBands(ByteReader& reader, std::size_t count, std::vector<std::int32_t>& out);

}  // namespace mersola::packed
