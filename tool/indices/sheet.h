// Rows of texts and numbers: lined up, as CSV or as JSON.
#pragma once

#include <iosfwd>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "basics/table.h"

namespace mersola::tool {

/// A text or a number; nothing where the number is NaN.
struct SheetCell {
    SheetCell() = default;
    SheetCell(std::string given) : text(std::move(given)), isText(true) {}
    SheetCell(double given) : number(given) {}

    std::string text;
    double number = std::numeric_limits<double>::quiet_NaN();
    bool isText = false;
};

struct SheetColumn {
    enum class Style {
        Text,
        Time,
        Level,    ///< lined up to a tenth
        Number,   ///< lined up to four digits
        Percent,  ///< to two decimals everywhere
    };

    std::string name;
    Style style;
};

class Sheet {
  public:
    enum class Form { Aligned, Csv, Json };

    /// Writes what stands above the rows. `about`: names and values that JSON has beside the rows.
    Sheet(std::ostream& out, Form form, std::vector<SheetColumn> columns,
          const std::vector<std::pair<std::string, std::string>>& about);

    void Row(const std::vector<SheetCell>& cells);
    /// Writes what stands below them.
    void Finish();

  private:
    std::ostream& out_;
    Form form_;
    std::vector<SheetColumn> columns_;
    std::optional<Table> table_;
    bool isFirst_ = true;
};

}  // namespace mersola::tool
