// The numbers of a column: of one band over the periods of a block, say.
#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "bytes.h"

namespace mersola::packed {

/// No column holds more numbers.
inline constexpr std::size_t kMostInColumn = 128;

/// Appends the smallest encoding that is found. No numbers take no bytes.
void EncodeColumn(std::span<const double> values, std::string& out);

/// The same in a fraction of the time, without a search for what would be smaller.
void EncodeColumnQuickly(std::span<const double> values, std::string& out);

/// Decodes as many numbers as were encoded, bit for bit. Raises DamagedBlock. The bytes of the
/// reader are followed by kSlack others.
void DecodeColumn(ByteReader& reader, std::span<double> values);

/// Goes behind a column of so many numbers.
void SkipColumn(ByteReader& reader, std::size_t count);

}  // namespace mersola::packed
