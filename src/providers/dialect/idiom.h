// How an engine's language says what T-SQL says in another way.
#pragma once

#include <string_view>

namespace mersola::dialect {

struct Idiom {
    // Stands for the server's catalogue of objects: id, name and xtype.
    std::string_view sysobjects;
    // Around a name, as a text: the id of the table or view of that name.
    std::string_view objectIdHead;
    std::string_view objectIdTail;
    // Around "(expression": whether the expression is the id of a user's table.
    std::string_view userTableHead;
    std::string_view userTables;
    // Stands for LIKE, where the engine's own LIKE is another one; what follows the pattern then,
    // and what says that nothing in it is taken literally.
    std::string_view like = {};
    std::string_view pattern = {};
    std::string_view noEscape = {};
    // Stands behind a statement for the TOP at its beginning; empty where TOP stays.
    std::string_view limit = {};
    // Parameters are $1, $2 and so on, and not `?`.
    bool numbersParameters = false;
    // A name is folded to lower case, unless it stands in quotes.
    bool foldsNames = false;
};

extern const Idiom kSqliteIdiom;
extern const Idiom kPostgresqlIdiom;

}  // namespace mersola::dialect
