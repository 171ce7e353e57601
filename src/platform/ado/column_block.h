// Many rows at once, column by column.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>
#include <vector>

#include "cell.h"

namespace mersola::ado {

class RowSource;

/// One column of a block. Its values lie in the provider's memory, all of one type and equally far
/// apart, so that a matrix is handed out as it lies there.
struct Column {
    enum class Form : std::uint8_t {
        Asked,     // the block is one row, and its source is asked for the value
        Integers,  // std::int64_t
        Reals,     // double
        Texts,     // std::string_view
    };

    Form form = Form::Asked;
    int position = 0;                     // of the column in its row
    const void* values = nullptr;         // the first value, or the source
    std::ptrdiff_t stride = 0;            // in bytes; 0 where all rows have one value
    const std::uint8_t* nulls = nullptr;  // for each row, whether it is null; none where none is

    /// What a field reads, at a row of the block.
    std::int32_t Long(std::size_t row) const { return LongIn(At(row)); }
    double Double(std::size_t row) const { return DoubleIn(At(row)); }
    char FirstCharacter(std::size_t row) const { return FirstCharacterIn(At(row)); }
    bool IsNull(std::size_t row) const { return At(row).kind == CellKind::Null; }
    Cell At(std::size_t row) const;

  private:
    Cell Held(std::size_t row) const;
};

/// A column whose values are of type T, and none is null. A loop over it asks no questions.
template <class T>
class Plain {
  public:
    static bool Is(const Column& column) { return column.form == kForm && !column.nulls; }
    explicit Plain(const Column& column)
        : values_(static_cast<const char*>(column.values)), stride_(column.stride) {}
    bool IsOne() const { return stride_ == 0; }
    const T& operator[](std::size_t row) const {
        return *reinterpret_cast<const T*>(values_ + static_cast<std::ptrdiff_t>(row) * stride_);
    }

  private:
    static constexpr Column::Form kForm = std::is_same_v<T, std::int64_t> ? Column::Form::Integers
                                          : std::is_same_v<T, double>     ? Column::Form::Reals
                                                                          : Column::Form::Texts;
    const char* values_;
    std::ptrdiff_t stride_;
};

/// Rows of a result.
struct ColumnBlock {
    std::size_t rows = 0;
    std::vector<Column> columns;
};

}  // namespace mersola::ado
