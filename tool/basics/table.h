// Rows of text, lined up for reading or as CSV.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

namespace mersola::tool {

/// Writes its rows as they come, so that a table may be longer than memory. Raises Failure as soon
/// as a row could not be written.
class Table {
  public:
    enum class Form { Aligned, Csv };

    /// Writes the header. `widths`: for each column the width of its longest field, if that is
    /// known to be longer than the header; fields that are longer still push the rest of their row
    /// aside. Aligned columns are flush right.
    Table(std::ostream& out, Form form, const std::vector<std::string>& header,
          std::vector<std::size_t> widths = {});

    void Row(const std::vector<std::string>& fields);

  private:
    std::ostream& out_;
    Form form_;
    std::vector<std::size_t> widths_;
};

}  // namespace mersola::tool
