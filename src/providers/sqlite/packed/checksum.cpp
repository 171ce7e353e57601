#include "checksum.h"

#include <array>
#include <cstring>

#include <xxhash.h>

#include "block.h"

namespace mersola::packed {
namespace {

void PutLittle(std::uint64_t number, std::size_t size, unsigned char* at) {
    for (std::size_t i = 0; i < size; ++i)
        at[i] = static_cast<unsigned char>(number >> (8 * i));
}

/// The bytes' hash, seeded with the key's: so none need be copied together.
std::array<unsigned char, kChecksumSize> Checksum(const Key& key, const void* bytes,
                                                  std::size_t size) {
    std::array<unsigned char, 16> text;
    const std::int32_t parts[] = {key.measValueId, key.channel, key.funcId, key.number};
    for (std::size_t i = 0; i < 4; ++i) {
        PutLittle(static_cast<std::uint32_t>(parts[i]), 4, text.data() + 4 * i);
    }
    const auto seed = XXH3_64bits(text.data(), text.size());
    std::array<unsigned char, kChecksumSize> sum;
    PutLittle(XXH3_64bits_withSeed(bytes, size, seed), sum.size(), sum.data());
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
