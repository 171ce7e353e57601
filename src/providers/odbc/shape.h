// The shape of a statement: its text without the values that change from one run to the next.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ado/provider.h"

namespace mersola::odbc {

/// The text with a `?` for each value that stands alone: an item of VALUES, the right side of an
/// assignment, and a whole number that a condition compares with. At these places a server takes a
/// parameter as it takes the value itself. All else stays as it was written.
class Shape {
  public:
    /// `sql` is one statement that the lexer accepts. The texts among the values are views of it.
    explicit Shape(std::string_view sql);

    const std::string& Text() const { return text_; }
    const std::vector<ado::Cell>& Values() const { return values_; }
    /// The same for all statements of one shape: the text and the types of the values.
    std::string Key() const;
    /// Whether the statement may change tables, and not only rows.
    bool IsDefinition() const { return definition_; }

  private:
    std::string text_;
    std::vector<ado::Cell> values_;
    bool definition_ = false;
};

}  // namespace mersola::odbc
