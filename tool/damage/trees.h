// The trees of pages in a file: one for each table and each index.
#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <vector>

#include "tree_page.h"

namespace mersola::tool {

/// What a field of a tree's rows may hold.
enum class Stored { Number, NumberOrNull, Real, Text, Blob, Nothing, Anything };

/// How a tree's rows look.
struct Shape {
    bool isIndex = false;  ///< an index, or a table without row numbers
    std::vector<Stored> fields{};
    std::size_t least = 0;  ///< how many fields a row has at least: later ones may be left out
    /// So many fields in front are whole numbers in whose order the rows lie. Of a table with row
    /// numbers these are the order.
    std::size_t ordered = 0;
    bool isUnique = false;  ///< whether no two rows are equal in these

    /// What every tree of this kind fits.
    bool IsOpen() const { return fields.empty(); }
};

using TreeKey = std::vector<std::int64_t>;

/// The key by which a row lies in its tree.
TreeKey KeyOf(const Shape& shape, const Record& record);

/// A part of a tree that cannot be read, between two keys; without one, from or to its end.
struct Gap {
    PageNumber page;
    std::optional<TreeKey> after, before;

    bool Holds(const TreeKey& key) const {
        return (!after || *after < key) && (!before || key < *before);
    }
};

using TakeRecord = std::function<void(Record&)>;

class Trees {
  public:
    explicit Trees(const PageFile& file);

    /// Hands out the rows of a tree in their order, and says what of it cannot be read. A page that
    /// another tree has had is not read again.
    std::vector<Gap> Walk(PageNumber root, const Shape& shape, const TakeRecord& take);

    /// Notes the pages that are free; what they hold was deleted. False when some of them are not
    /// known.
    bool FindFree();

    struct Torn {
        const Shape* shape;
        const std::vector<Gap>* gaps;
        TakeRecord take;
    };
    /// Hands out the rows of pages that no tree leads to any more, and that fit into the gaps of
    /// exactly one tree. Returns the positions of the trees that had such pages.
    std::set<std::size_t> ReadStrays(const std::vector<Torn>& torn);

  private:
    struct Walker;

    bool IsTaken(PageNumber page) const { return page > file_.Count() || taken_[page]; }
    bool FindFreeByHeader();
    void FindFreeByLooks();
    /// The free pages that a page lists; false when it is no such list.
    bool ReadFreeList(PageNumber page, PageNumber& next, std::vector<PageNumber>& free) const;

    const PageFile& file_;
    std::vector<bool> taken_;
};

}  // namespace mersola::tool
