// A statement without the values that change from one run to the next.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ado/provider.h"

namespace mersola::odbc {

/// The text with a `?` for each value that stands alone: an item of VALUES, the right side of an
/// assignment, a whole number that a condition compares with. There the server takes a parameter
/// as it takes the value itself; everything else stays as it was written.
class Shape {
  public:
    /// `sql` is one statement that the lexer takes. The texts among the values are views of it.
    explicit Shape(std::string_view sql);

    const std::string& Text() const { return text_; }
    const std::vector<ado::Cell>& Values() const { return values_; }
    /// What statements of one shape have in common: the text and the values' types.
    std::string Key() const;
    /// Whether it may change tables, and not rows only.
    bool IsDefinition() const { return definition_; }

  private:
    std::string text_;
    std::vector<ado::Cell> values_;
    bool definition_ = false;
};

}  // namespace mersola::odbc
