// The server's binary form of values.
#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include <libpq-fe.h>

#include "ado/cell.h"

namespace mersola::postgresql {

// Types by the numbers that they have on every server.
inline constexpr Oid kBool = 16, kBytes = 17, kChar = 18, kName = 19, kInt8 = 20, kInt2 = 21,
                     kInt4 = 23, kText = 25, kOid = 26, kJson = 114, kXml = 142, kFloat4 = 700,
                     kFloat8 = 701, kUnknown = 705, kInt4Array = 1007, kTextArray = 1009,
                     kInt8Array = 1016, kFloat8Array = 1022, kBlankPadded = 1042, kVarchar = 1043,
                     kNumeric = 1700, kVoid = 2278;

/// Numbers go with their highest byte first.
template <std::unsigned_integral Number>
Number Swapped(Number number) {
    if constexpr (std::endian::native == std::endian::big) return number;
    if constexpr (sizeof(Number) == 8) return __builtin_bswap64(number);
    if constexpr (sizeof(Number) == 4) return __builtin_bswap32(number);
    if constexpr (sizeof(Number) == 2) return __builtin_bswap16(number);
}

template <std::unsigned_integral Number>
Number NumberAt(const char* bytes) {
    Number number;
    std::memcpy(&number, bytes, sizeof number);
    return Swapped(number);
}

template <std::unsigned_integral Number>
void Append(std::string& bytes, Number number) {
    number = Swapped(number);
    bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
}

/// Whether values of this type can be read.
bool IsKnown(Oid type);

/// Whether a value of this type can have that length.
bool HasLength(Oid type, std::size_t length);

/// A value that is not null. A text refers to `bytes`.
ado::Cell CellAt(Oid type, const char* bytes, std::size_t length);

}  // namespace mersola::postgresql
