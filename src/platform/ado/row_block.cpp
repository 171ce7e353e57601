// Keeping rows: cells are copied, texts go into one growing store.
#include "row_block.h"

#include <algorithm>

namespace mersola::ado {

void RowBlock::AddRow(const RowSource& source) {
    for (std::size_t column = 0; column < columns_; ++column) {
        cells_.push_back(Owned(source.At(static_cast<int>(column))));
    }
}

void RowBlock::Clear(std::size_t columns) {
    constexpr std::size_t kMostKept = 1 << 16;
    columns_ = columns;
    cells_.clear();
    if (cells_.capacity() > kMostKept) cells_.shrink_to_fit();
    if (texts_) texts_->release();
}

const char* RowBlock::Copied(std::string_view text) {
    if (!texts_) texts_ = std::make_unique<std::pmr::monotonic_buffer_resource>();
    auto* copy = static_cast<char*>(texts_->allocate(text.size(), 1));
    std::ranges::copy(text, copy);
    return copy;
}

}  // namespace mersola::ado
