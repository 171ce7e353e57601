// Keeping rows: cells are copied, texts go into one growing store.
#include "row_block.h"

#include <algorithm>

namespace mersola::ado {

void RowBlock::AddRow(const RowSource& source) {
    for (std::size_t column = 0; column < columns_; ++column) {
        cells_.push_back(Owned(source.At(static_cast<int>(column))));
    }
}

void RowBlock::Clear() {
    cells_.clear();
    if (texts_) texts_->release();
}

Cell RowBlock::Owned(Cell cell) {
    if (cell.kind == CellKind::Text && cell.length > 0) {
        if (!texts_) texts_ = std::make_unique<std::pmr::monotonic_buffer_resource>();
        auto* copy = static_cast<char*>(texts_->allocate(cell.length, 1));
        std::copy_n(cell.text, cell.length, copy);
        cell.text = copy;
    }
    return cell;
}

}  // namespace mersola::ado
