// Rows that are held in memory, all of one width, with their texts.
#pragma once

#include <cstddef>
#include <memory>
#include <memory_resource>
#include <span>
#include <string_view>
#include <vector>

#include "provider.h"

namespace mersola::ado {

class RowBlock {
  public:
    explicit RowBlock(std::size_t columns = 0) : columns_(columns) {}

    std::size_t Rows() const { return columns_ ? cells_.size() / columns_ : 0; }
    Cell At(std::size_t row, std::size_t column) const { return cells_[row * columns_ + column]; }
    std::span<const Cell> Cells() const { return cells_; }

    /// Appends a row of nulls.
    void AddRow() { cells_.resize(cells_.size() + columns_); }
    /// Appends a row with a value at each of `places`, and with nulls elsewhere.
    void AddRow(std::span<const std::size_t> places, std::span<const Cell> values) {
        AddRow();
        Cell* const row = cells_.data() + (cells_.size() - columns_);
        for (std::size_t i = 0; i < places.size(); ++i)
            row[places[i]] = Owned(values[i]);
    }
    /// Appends the row on which `source` stands.
    void AddRow(const RowSource& source);
    /// Sets a cell of the last row, and copies its text.
    void SetLast(std::size_t column, Cell value) {
        cells_[cells_.size() - columns_ + column] = Owned(value);
    }
    Cell Last(std::size_t column) const { return cells_[cells_.size() - columns_ + column]; }
    /// Forgets all rows; the next ones have that many columns. The memory stays, unless it is much.
    void Clear(std::size_t columns);

  private:
    Cell Owned(Cell cell) {
        if (cell.kind == CellKind::Text && cell.length > 0) cell.text = Copied(cell.View());
        return cell;
    }
    const char* Copied(std::string_view text);

    std::size_t columns_;
    std::vector<Cell> cells_;
    std::unique_ptr<std::pmr::monotonic_buffer_resource> texts_;  // null while there is no text
};

}  // namespace mersola::ado
