// Takes a connection string apart.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <mersola/platform/text.h>

namespace mersola::ado {

/// A connection string: "key=value;" pairs. Keys are compared without regard to case, and the last
/// of several equal keys counts. A value may stand in {}, '' or "", where the closing mark is
/// written twice to mean itself.
class ConnectionString {
  public:
    /// Raises _com_error when the text is not of that form.
    explicit ConnectionString(std::string_view text);

    /// The value of `key`; empty when there is no such key.
    std::string_view Find(std::string_view key) const;
    const std::vector<std::pair<std::string, std::string>>& Pairs() const { return pairs_; }
    /// The text as it was given.
    const std::string& Text() const { return text_; }

  private:
    std::string text_;
    std::vector<std::pair<std::string, std::string>> pairs_;
};

inline bool EqualNoCase(std::string_view left, std::string_view right) {
    return CompareNoCase(left, right) == 0;
}

}  // namespace mersola::ado
