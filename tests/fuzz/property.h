// What a target says of its input.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace mersola::fuzz {

/// Ends the program, as libFuzzer expects it of an input that is to be kept.
inline void Require(bool isTrue, const char* property, std::string_view detail = "") {
    if (isTrue) return;
    std::fprintf(stderr, "This does not hold: %s\n%.*s\n", property,
                 static_cast<int>(detail.size()), detail.data());
    std::abort();
}

/// The input as text. It ends with its first NUL byte, where it goes to those who take a C text.
inline std::string TextOf(const std::uint8_t* data, std::size_t size) {
    return std::string(reinterpret_cast<const char*>(data), size);
}

}  // namespace mersola::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
