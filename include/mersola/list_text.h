// ListText: the comma-separated lists that the database keeps as text.
#pragma once

#include <mersola/platform/export.h>
#include <mersola/platform/text.h>

#include <vector>

namespace mersola {

/// A list of items. Each item is a text, a key with a text, or a list of its own:
///
///    10,50,90        station,"a, b",""        name="Pier 4",levels={10,{50,90}}
///
/// An item that holds plain characters only is written as it stands. Any other item is written
/// between double quotes, where a backslash makes the next character an ordinary one. Whatever is
/// written reads back unchanged.
///
/// Reading is more generous. Blanks around items, keys and `=` do not count, unless they stand in
/// quotes or behind a backslash. Commas with nothing between them have an empty item there, but a
/// text of blanks is a list without items. An `=` in front of a quote or a brace makes a pair.
/// Otherwise the first `=` of an item makes a pair, unless nothing stands in front of it or it is
/// part of a comparison: x=5 is a pair, and x>=5 is one text.
///
/// The value of an item is its text; of a pair, the text behind the key; and of a list, the text
/// between the braces, which can be read as a list in turn. Inner lists go 100 levels deep. A text
/// with deeper ones is malformed, and AddList raises std::length_error for a list that is deeper.
class MERSOLA_EXPORT ListText {
  public:
    /// An item, as the iterators give it. It stands for its value where a text is wanted.
    struct Item {
        CString value{};      ///< the text, as the class describes it
        CString key{};        ///< empty unless the item is a pair
        bool isPair = false;  ///< whether it is a key with a text or a list
        bool isList = false;  ///< a list of its own

        /// The value.
        operator const CString&() const noexcept { return value; }
        /// The same kind, key and value.
        bool operator==(const Item&) const = default;
    };

    /// A list without items.
    ListText() = default;
    /// The list that Parse reads from the text. A malformed text becomes the only item.
    ListText(const CString& text) : ListText(text.GetString()) {}
    ListText(const char* text);

    /// Reads a list. A malformed text gives false and leaves the list as it was. A text is
    /// malformed when quotes or braces lack their partner, or when something else stands between
    /// them and the comma.
    bool Parse(const char* text);
    /// The list as a text. Parse reads it back unchanged.
    CString ToText() const;

    /// The number of items.
    int GetSize() const noexcept { return static_cast<int>(items_.size()); }
    /// Whether there are no items.
    bool IsEmpty() const noexcept { return items_.empty(); }
    /// The value of an item; an index outside the list raises std::out_of_range.
    const CString& GetAt(int index) const;
    const CString& operator[](int index) const { return GetAt(index); }
    /// The value of the first item; empty if there is none.
    CString First() const { return IsEmpty() ? CString() : GetAt(0); }
    /// Finds the value of the first pair with this key. Upper and lower case are alike, and inner
    /// lists are not searched. When there is no such pair, it returns false and leaves `value` as
    /// it was.
    bool Find(const char* key, CString& value) const;

    /// Append an item: a text, a key with a text, or a list. A null text is an empty one.
    void Add(const char* text);
    void AddPair(const char* key, const char* value);
    void AddList(const ListText& list);
    /// Removes every item.
    void RemoveAll() noexcept { items_.clear(); }

    /// For loops over the items.
    auto begin() const noexcept { return items_.begin(); }
    auto end() const noexcept { return items_.end(); }

    /// The same items in the same order.
    bool operator==(const ListText&) const = default;

  private:
    std::vector<Item> items_;
};

}  // namespace mersola
