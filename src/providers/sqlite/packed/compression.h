// Whole bodies through zstd.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>

namespace mersola::packed {

/// Compresses into out. Returns false if that takes no fewer bytes than given.
bool CompressBelow(std::size_t size, const std::string& bytes, std::string& out);

/// Decompresses into the buffer, with kSlack bytes behind. Raises DamagedBlock.
std::span<const std::byte> Decompress(std::span<const std::byte> bytes,
                                      std::unique_ptr<std::byte[]>& buffer);

}  // namespace mersola::packed
