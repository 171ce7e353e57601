// A page of a table or an index, and its rows.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "page_file.h"

namespace mersola::tool {

struct LostField {};  ///< was on a page that cannot be read
struct BlobField {
    std::string bytes;
};

/// A stored field; the empty one is a null.
using Field = std::variant<std::monostate, std::int64_t, double, std::string, BlobField, LostField>;

struct Record {
    std::int64_t rowid = 0;  ///< in the tree of a table
    std::vector<Field> fields{};
};

struct TreeCell {
    PageNumber left = 0;  ///< the page with what comes before; not on leaves
    Record record{};      ///< no fields on inner pages of a table
    std::vector<PageNumber> overflow{};
};

struct TreePage {
    bool isIndex;  ///< of an index, or of a table without row numbers
    bool isLeaf;
    PageNumber right = 0;  ///< the page with what comes last; not on leaves
    std::vector<TreeCell> cells{};
};

/// Nothing unless every byte of the page is accounted for as SQLite does it: damage that leaves the
/// structure whole is next to impossible to come by, and a false row is worse than a lost one. A
/// long row whose rest cannot be read comes with fields that are lost.
std::optional<TreePage> ReadTreePage(const PageFile& file, PageNumber number);

}  // namespace mersola::tool
