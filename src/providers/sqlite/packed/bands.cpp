#include "bands.h"

namespace mersola::packed {

void EncodeBands(std::span<const std::int32_t> bands, std::string& out) {
    PutVarint(ZigZag(bands[0]), out);
    for (std::size_t first = 0; first < bands.size();) {
        std::size_t end = first + 1;
        while (end < bands.size() && bands[end] == std::int64_t{bands[end - 1]} + 1)
            ++end;
        PutVarint(end - first - 1, out);
        if (end == bands.size()) return;
        const std::int64_t gap = std::int64_t{bands[end]} - bands[end - 1];  // 2 or more
        PutVarint(static_cast<std::uint64_t>(gap - 2), out);
        first = end;
    }
}

void DecodeBands(ByteReader& reader, std::size_t count, std::vector<std::int32_t>& out) {
    out.clear();
    std::int64_t band = Narrow32(reader.Signed());
    while (out.size() < count) {
        const std::size_t run = reader.Size(count - out.size() - 1) + 1;
        Narrow32(band + static_cast<std::int64_t>(run - 1));
        for (std::size_t i = 0; i < run; ++i)
            out.push_back(static_cast<std::int32_t>(band++));
        if (out.size() < count) {
            band = Narrow32(band + 1 + static_cast<std::int64_t>(reader.Size(UINT32_MAX)));
        }
    }
}

}  // namespace mersola::packed
