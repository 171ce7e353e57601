#include "compression.h"

#include <new>

#include <zstd.h>

#include "bytes.h"

namespace mersola::packed {
namespace {

constexpr int kLevel = 1;
constexpr std::size_t kMostBytes = std::size_t{1} << 28;  // 16 for each of kMostCells

struct FreeContext {
    void operator()(ZSTD_CCtx* context) const { ZSTD_freeCCtx(context); }
    void operator()(ZSTD_DCtx* context) const { ZSTD_freeDCtx(context); }
};

// Making one takes longer than a block.
ZSTD_CCtx* Compressor() {
    thread_local const std::unique_ptr<ZSTD_CCtx, FreeContext> context(ZSTD_createCCtx());
    if (!context) throw std::bad_alloc();
    return context.get();
}

ZSTD_DCtx* Decompressor() {
    thread_local const std::unique_ptr<ZSTD_DCtx, FreeContext> context(ZSTD_createDCtx());
    if (!context) throw std::bad_alloc();
    return context.get();
}

}  // namespace

bool CompressBelow(std::size_t size, const std::string& bytes, std::string& out) {
    if (bytes.size() > kMostBytes) return false;
    out.resize(ZSTD_compressBound(bytes.size()));
    const std::size_t written =
        ZSTD_compressCCtx(Compressor(), out.data(), out.size(), bytes.data(), bytes.size(), kLevel);
    if (ZSTD_isError(written)) throw std::bad_alloc();  // nothing else is left to go wrong
    out.resize(written);
    return written < size;
}

std::span<const std::byte> Decompress(std::span<const std::byte> bytes,
                                      std::unique_ptr<std::byte[]>& buffer) {
    const unsigned long long size = ZSTD_getFrameContentSize(bytes.data(), bytes.size());
    if (size > kMostBytes) throw DamagedBlock("its compressed bytes do not say their size");
    const auto whole = static_cast<std::size_t>(size);
    buffer = std::make_unique_for_overwrite<std::byte[]>(whole + kSlack);
    std::memset(buffer.get() + whole, 0, kSlack);
    const std::size_t read =
        ZSTD_decompressDCtx(Decompressor(), buffer.get(), whole, bytes.data(), bytes.size());
    if (ZSTD_isError(read) || read != whole) throw DamagedBlock("it cannot be decompressed");
    return {buffer.get(), whole};
}

}  // namespace mersola::packed
