// The result of a listing: a table of cells.
#pragma once

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "handle.h"
#include "times.h"

namespace mersola::c {

/// A cell, with the texts that it is asked for by pointer.
struct Cell {
    std::int32_t kind = MERSOLA_KIND_NONE;
    std::int64_t integer = 0;
    double real = 0;
    std::string text{};

    Cell(std::integral auto number)
        : kind(MERSOLA_KIND_INTEGER),
          integer(number),
          real(static_cast<double>(integer)),
          text(std::to_string(number)) {}
    Cell(double number);
    Cell(const CString& words) : kind(MERSOLA_KIND_TEXT), text(words.View()) {}
    Cell(const CTimeEx& time)
        : kind(MERSOLA_KIND_TIME), integer(Milliseconds(time)), text(IsoText(time)) {}
};

}  // namespace mersola::c

struct mersola_list {
    std::vector<std::int32_t> fields;
    std::vector<mersola::c::Cell> cells;  // row by row

    explicit mersola_list(std::initializer_list<std::int32_t> names) : fields(names) {}
    void Add(std::initializer_list<mersola::c::Cell> row) {
        cells.insert(cells.end(), row.begin(), row.end());
    }
    std::int64_t Rows() const { return static_cast<std::int64_t>(cells.size() / fields.size()); }
    /// Null when there is no such row or field.
    const mersola::c::Cell* At(std::int64_t row, std::int32_t field) const;
};
