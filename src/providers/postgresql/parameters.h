// The values of a statement's parameters, as libpq takes them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <libpq-fe.h>

#include "ado/cell.h"

namespace mersola::postgresql {

/// How many rows a column's values have, and of what kind they are together.
enum class Form : std::uint8_t { Integer, Long, Real, Text };

class Parameters {
  public:
    void Clear();
    /// A number goes as its own type. A text goes as a literal does, whose type the server tells
    /// from what stands around it.
    void AddInteger(std::int64_t value);
    void AddReal(double value);
    void AddText(std::string_view value);
    /// An array of the values of one column: `cells` has rows of `width` cells each.
    void AddColumn(std::span<const ado::Cell> cells, std::size_t column, std::size_t width,
                   Form form);

    int Count() const { return static_cast<int>(types_.size()); }
    const Oid* Types() const { return types_.data(); }
    /// Valid until the next change.
    const char* const* Values() const;
    const int* Lengths() const { return lengths_.data(); }
    const int* Formats() const { return formats_.data(); }

    /// The form in which the values of a column go together.
    static Form FormOf(std::span<const ado::Cell> cells, std::size_t column, std::size_t width);

  private:
    void Add(Oid type, bool isBinary, std::size_t from);

    std::string bytes_;
    std::vector<std::size_t> places_;  // where in `bytes_` each begins
    std::vector<Oid> types_;
    std::vector<int> lengths_;
    std::vector<int> formats_;
    mutable std::vector<const char*> values_;
};

}  // namespace mersola::postgresql
