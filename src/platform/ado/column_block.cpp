// Values of a block one by one, and rows as blocks of one.
#include "column_block.h"

#include "provider.h"

namespace mersola::ado {

Cell Column::Held(std::size_t row) const {
    if (nulls && nulls[row]) return {};
    switch (form) {
        case Form::Integers:
            return Cell::Integer(Plain<std::int64_t>(*this)[row]);
        case Form::Reals:
            return Cell::Real(Plain<double>(*this)[row]);
        default:
            return Cell::Text(Plain<std::string_view>(*this)[row]);
    }
}

bool RowSource::NextBlock(ColumnBlock& block) {
    if (!Next()) return false;
    block.rows = 1;
    if (!block.columns.empty()) return true;
    for (std::size_t i = 0; i < Columns().size(); ++i)
        block.columns.push_back({.position = static_cast<int>(i), .values = this});
    return true;
}

}  // namespace mersola::ado
