// The keywords that steer a translation.
#pragma once

#include <cstdint>
#include <string_view>

namespace mersola::dialect {

enum class Keyword : std::uint8_t {
    None,
    As,
    Begin,
    Cast,
    Collate,
    Conflict,
    Create,
    Delete,
    Do,
    End,
    From,
    Group,
    Having,
    Hint,  // any table hint
    In,
    Insert,
    Into,
    Join,
    Like,
    Limit,
    ObjectId,
    ObjectProperty,
    On,
    Order,
    Owner,  // whose tables need no prefix
    Replace,
    Returning,
    Select,
    Set,
    TableEnd,  // any other word that may follow a table and is not its alias
    Update,
    Values,
    Where,
    With,
};

// The keyword that `word` is, in any case.
Keyword KeywordOf(std::string_view word);

// Whether `word` is `upper`, in any case. `upper` holds capital letters and underscores only.
constexpr bool Matches(std::string_view word, std::string_view upper) {
    if (word.size() != upper.size()) return false;
    for (std::size_t i = 0; i < word.size(); ++i) {
        if ((static_cast<unsigned char>(word[i]) & 0xDFu) != static_cast<unsigned char>(upper[i]))
            return false;
    }
    return true;
}

}  // namespace mersola::dialect
