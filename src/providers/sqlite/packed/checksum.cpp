#include "checksum.h"

#include <array>
#include <cstring>

#include <xxhash.h>

#include "bytes.h"

namespace mersola::packed {
namespace {

using Sum = std::array<std::byte, kChecksumSize>;

Sum Checksum(const Key& key, const void* bytes, std::size_t size) {
    std::array<std::byte, 28> text;  // the key, and what the bytes come to
    std::byte* at = text.data();
    for (const std::int32_t part : {static_cast<std::int32_t>(key.content), key.measValueId,
                                    key.channel, key.funcId, key.number}) {
        StoreLittle(static_cast<std::uint32_t>(part), at, 4);
        at += 4;
    }
    StoreLittle(XXH3_64bits(bytes, size), at);
    Sum sum;
    StoreLittle(XXH3_64bits(text.data(), text.size()), sum.data());
    return sum;
}

}  // namespace

void Seal(const Key& key, std::string& data) {
    const auto sum = Checksum(key, data.data(), data.size());
    data.append(reinterpret_cast<const char*>(sum.data()), sum.size());
}

std::span<const std::byte> Unseal(const Key& key, std::span<const std::byte> data) {
    if (data.size() < kChecksumSize) throw DamagedBlock("it is too short");
    const auto body = data.first(data.size() - kChecksumSize);
    const auto sum = Checksum(key, body.data(), body.size());
    if (std::memcmp(sum.data(), data.data() + body.size(), sum.size()) != 0) {
        throw DamagedBlock("its checksum does not fit");
    }
    return body;
}

}  // namespace mersola::packed
