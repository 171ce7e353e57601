// Reading values.
#include "binary.h"

#include <charconv>
#include <limits>

namespace mersola::postgresql {
namespace {

using ado::Cell;

std::int64_t SignedAt(const char* bytes, std::size_t length) {
    if (length == sizeof(std::uint64_t))
        return static_cast<std::int64_t>(NumberAt<std::uint64_t>(bytes));
    if (length == sizeof(std::uint32_t))
        return static_cast<std::int32_t>(NumberAt<std::uint32_t>(bytes));
    return static_cast<std::int16_t>(NumberAt<std::uint16_t>(bytes));
}

// A decimal: groups of four digits, each worth ten thousand times the one behind it. Without a
// fraction it is an integer, where it fits.
Cell DecimalAt(const char* bytes) {
    const auto groups = NumberAt<std::uint16_t>(bytes);
    const int weight = static_cast<std::int16_t>(NumberAt<std::uint16_t>(bytes + 2));
    const auto sign = NumberAt<std::uint16_t>(bytes + 4);
    constexpr std::uint16_t kMinus = 0x4000, kNotANumber = 0xC000, kInfinity = 0xD000,
                            kMinusInfinity = 0xF000;
    using Limits = std::numeric_limits<double>;
    if (sign == kNotANumber) return Cell::Real(Limits::quiet_NaN());
    if (sign == kInfinity) return Cell::Real(Limits::infinity());
    if (sign == kMinusInfinity) return Cell::Real(-Limits::infinity());
    std::string digits(sign == kMinus ? "-0" : "0");
    for (int group = 0; group < groups; ++group)
        digits.append(std::to_string(10000 + NumberAt<std::uint16_t>(bytes + 8 + 2 * group)), 1);
    const int behind = weight + 1 - groups;  // groups of zeros, or with a minus of the fraction
    const auto parse = [&](auto& number) {
        const auto [end, error] =
            std::from_chars(digits.data(), digits.data() + digits.size(), number);
        return error == std::errc();
    };
    if (constexpr int kMost = 4; behind >= 0 && groups + behind <= kMost + 1) {
        std::int64_t integer = 0;
        digits.append(static_cast<std::size_t>(4 * behind), '0');
        if (parse(integer)) return Cell::Integer(integer);
        digits.resize(digits.size() - static_cast<std::size_t>(4 * behind));
    }
    double real = 0;
    digits += 'e' + std::to_string(4 * behind);
    if (!parse(real) && groups + behind > 0)  // beyond a double, and not below it
        real = sign == kMinus ? -Limits::infinity() : Limits::infinity();
    return Cell::Real(real);
}

}  // namespace

bool IsKnown(Oid type) {
    switch (type) {
        case kBool:
        case kBytes:
        case kChar:
        case kName:
        case kInt8:
        case kInt2:
        case kInt4:
        case kText:
        case kOid:
        case kJson:
        case kXml:
        case kFloat4:
        case kFloat8:
        case kUnknown:
        case kBlankPadded:
        case kVarchar:
        case kNumeric:
        case kVoid:
            return true;
        default:
            return false;
    }
}

bool HasLength(Oid type, std::size_t length) {
    switch (type) {
        case kBool:
            return length == 1;
        case kInt2:
            return length == 2;
        case kInt4:
        case kOid:
        case kFloat4:
            return length == 4;
        case kInt8:
        case kFloat8:
            return length == 8;
        case kNumeric:
            return length >= 8;
        default:
            return true;
    }
}

Cell CellAt(Oid type, const char* bytes, std::size_t length) {
    switch (type) {
        case kInt2:
        case kInt4:
        case kInt8:
            return Cell::Integer(SignedAt(bytes, length));
        case kFloat8:
            return Cell::Real(std::bit_cast<double>(NumberAt<std::uint64_t>(bytes)));
        case kFloat4:
            return Cell::Real(std::bit_cast<float>(NumberAt<std::uint32_t>(bytes)));
        case kBool:
            return Cell::Integer(*bytes);
        case kOid:
            return Cell::Integer(NumberAt<std::uint32_t>(bytes));
        case kNumeric:
            return DecimalAt(bytes);
        case kVoid:
            return {};
        default:
            return Cell::Text({bytes, length});
    }
}

}  // namespace mersola::postgresql
