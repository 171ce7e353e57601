// The keywords that steer a translation. They are found by their first letter and their length.
#include "keywords.h"

#include <array>
#include <cstddef>

namespace mersola::dialect {
namespace {

struct Entry {
    std::string_view word;
    Keyword keyword;
};

// The keywords, in the order of their first letters.
constexpr Entry kEntries[] = {
    {"AS", Keyword::As},
    {"BEGIN", Keyword::Begin},
    {"CAST", Keyword::Cast},
    {"COLLATE", Keyword::Collate},
    {"CONFLICT", Keyword::Conflict},
    {"CREATE", Keyword::Create},
    {"CROSS", Keyword::TableEnd},
    {"DBO", Keyword::Owner},
    {"DELETE", Keyword::Delete},
    {"DO", Keyword::Do},
    {"END", Keyword::End},
    {"EXCEPT", Keyword::TableEnd},
    {"FORCESCAN", Keyword::Hint},
    {"FORCESEEK", Keyword::Hint},
    {"FROM", Keyword::From},
    {"FULL", Keyword::TableEnd},
    {"GROUP", Keyword::Group},
    {"HAVING", Keyword::Having},
    {"HOLDLOCK", Keyword::Hint},
    {"IGNORE_CONSTRAINTS", Keyword::Hint},
    {"IGNORE_TRIGGERS", Keyword::Hint},
    {"IN", Keyword::In},
    {"INDEX", Keyword::Hint},
    {"INDEXED", Keyword::TableEnd},
    {"INNER", Keyword::TableEnd},
    {"INSERT", Keyword::Insert},
    {"INTERSECT", Keyword::TableEnd},
    {"INTO", Keyword::Into},
    {"JOIN", Keyword::Join},
    {"KEEPDEFAULTS", Keyword::Hint},
    {"KEEPIDENTITY", Keyword::Hint},
    {"LEFT", Keyword::TableEnd},
    {"LIKE", Keyword::Like},
    {"LIMIT", Keyword::Limit},
    {"NATURAL", Keyword::TableEnd},
    {"NOEXPAND", Keyword::Hint},
    {"NOLOCK", Keyword::Hint},
    {"NOT", Keyword::TableEnd},
    {"NOWAIT", Keyword::Hint},
    {"OBJECTPROPERTY", Keyword::ObjectProperty},
    {"OBJECT_ID", Keyword::ObjectId},
    {"ON", Keyword::On},
    {"ORDER", Keyword::Order},
    {"OUTER", Keyword::TableEnd},
    {"PAGLOCK", Keyword::Hint},
    {"READCOMMITTED", Keyword::Hint},
    {"READCOMMITTEDLOCK", Keyword::Hint},
    {"READPAST", Keyword::Hint},
    {"READUNCOMMITTED", Keyword::Hint},
    {"REPEATABLEREAD", Keyword::Hint},
    {"REPLACE", Keyword::Replace},
    {"RETURNING", Keyword::Returning},
    {"RIGHT", Keyword::TableEnd},
    {"ROWLOCK", Keyword::Hint},
    {"SELECT", Keyword::Select},
    {"SERIALIZABLE", Keyword::Hint},
    {"SET", Keyword::Set},
    {"SNAPSHOT", Keyword::Hint},
    {"TABLOCK", Keyword::Hint},
    {"TABLOCKX", Keyword::Hint},
    {"UNION", Keyword::TableEnd},
    {"UPDATE", Keyword::Update},
    {"UPDLOCK", Keyword::Hint},
    {"USING", Keyword::TableEnd},
    {"VALUES", Keyword::Values},
    {"WHERE", Keyword::Where},
    {"WINDOW", Keyword::TableEnd},
    {"WITH", Keyword::With},
    {"XLOCK", Keyword::Hint},
};

// The entries of one first letter, and a bit for each length among them. These two alone tell most
// names of a statement from the keywords.
struct Letter {
    const Entry* first = nullptr;
    const Entry* last = nullptr;
    std::uint32_t lengths = 0;
};

constexpr std::array<Letter, 256> kLetters = [] {
    std::array<Letter, 256> letters{};
    for (const Entry& entry : kEntries) {
        Letter& upper = letters[static_cast<unsigned char>(entry.word.front())];
        if (!upper.first) upper.first = &entry;
        upper.last = &entry + 1;
        upper.lengths |= 1u << entry.word.size();
        letters[static_cast<unsigned char>(entry.word.front()) | 0x20u] = upper;
    }
    return letters;
}();

}  // namespace

Keyword KeywordOf(std::string_view word) {
    const Letter& letter = kLetters[static_cast<unsigned char>(word.front())];
    if (word.size() > 31 || !(letter.lengths >> word.size() & 1u)) return Keyword::None;
    for (const Entry* entry = letter.first; entry != letter.last; ++entry) {
        if (Matches(word, entry->word)) return entry->keyword;
    }
    return Keyword::None;
}

}  // namespace mersola::dialect
