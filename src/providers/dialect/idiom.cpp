// The catalogues, and what else has words of its own.
#include "idiom.h"

namespace mersola::dialect {

const Idiom kSqliteIdiom{
    .sysobjects =
        "(SELECT rowid AS id, name, CASE type WHEN 'table' THEN 'U' WHEN 'view' THEN 'V'"
        " WHEN 'trigger' THEN 'TR' END AS xtype FROM sqlite_schema WHERE type <> 'index')",
    .objectIdHead = "(SELECT rowid FROM sqlite_schema WHERE type IN ('table', 'view') AND name =",
    .objectIdTail = " COLLATE NOCASE)",
    .userTableHead = "(",
    .userTables =
        ") IN (SELECT rowid FROM sqlite_schema WHERE type = 'table' AND name NOT GLOB 'sqlite_*'))",
};

// Tables are those that a name without a schema means.
const Idiom kPostgresqlIdiom{
    .sysobjects =
        "(SELECT CAST(oid AS bigint) AS id, CAST(relname AS text) AS name,"
        " CASE WHEN relkind IN ('v', 'm') THEN 'V' ELSE 'U' END AS xtype FROM pg_catalog.pg_class"
        " WHERE relkind IN ('r', 'p', 'f', 'v', 'm') AND pg_catalog.pg_table_is_visible(oid))",
    .objectIdHead =
        "(SELECT CAST(oid AS bigint) FROM pg_catalog.pg_class WHERE relkind IN ('r', 'p', 'f',"
        " 'v', 'm') AND pg_catalog.pg_table_is_visible(oid) AND relname = pg_catalog.lower(",
    .objectIdTail = "))",
    .userTableHead = "CAST(",
    .userTables =
        ") IN (SELECT CAST(oid AS bigint) FROM pg_catalog.pg_class WHERE relkind IN ('r',"
        " 'p', 'f') AND oid >= 16384) AS int)",  // below it, the system's own
    .like = "ILIKE",
    .pattern = "COLLATE \"C\"",  // that of the columns has no patterns
    .noEscape = "ESCAPE ''",
    .limit = "LIMIT",
    .numbersParameters = true,
    .foldsNames = true,
};

}  // namespace mersola::dialect
