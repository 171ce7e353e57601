// What tells one database engine from another. The library's providers, the layout in schema/, the
// tool and the tests ask it. It holds facts only; what follows from a fact stands where it is
// asked. All of it is in headers, so that the library need not export it for the tool.
#pragma once

#include <cstddef>
#include <string_view>

namespace mersola {

/// What an engine's message is about.
enum class Fault {
    Other,
    Statement,   ///< a statement that the engine cannot run
    NoTable,     ///< there is no table of that name
    Duplicate,   ///< a primary or unique key that is stored already
    Constraint,  ///< another constraint that a row violates
    Value,       ///< a value that its column cannot hold
    Busy,        ///< the time-out passed before anything was done
    LogIn,       ///< the log-in was refused
    NoDatabase,  ///< there is no database that the log-in asked for
};

/// Whether a row was refused for what it holds, so that other rows may still be stored.
constexpr bool IsRefusal(Fault fault) {
    return fault == Fault::Duplicate || fault == Fault::Constraint || fault == Fault::Value;
}

/// An engine's message, as far as it is known.
struct Message {
    std::string_view state;  ///< SQLSTATE
    long native = 0;         ///< the engine's own number
    std::string_view words;
};

/// The statements that mark a place in a transaction, go back to that place, and forget it.
struct Savepoint {
    const char* set;
    const char* goBack;
    const char* release;
};

/// How a database gives the room of what was deleted back to the system: statements.
struct Room {
    const char* mode;      ///< gives 2 where the database was made for it
    const char* freed;     ///< gives how many pages can go back
    const char* pageSize;  ///< gives the size of a page in bytes
    const char* giveBack;  ///< followed by a number, gives so many pages back
};

/// The language that an engine's statements are in. The library writes SQL Server's.
enum class Language { SqlServer, Sqlite, Postgresql };

/// How an ODBC driver takes and gives texts.
enum class TextForm { Utf8, Utf16 };

/// What an ODBC driver does with an array of rows.
struct Arrays {
    std::size_t mostRows = 1000;
    std::size_t mostTextBytes = std::size_t{16} << 20;
    /// Whether it tells which rows were stored when one was refused. An engine whose driver does
    /// not tell must have savepoints.
    bool tellsRows = true;
};

/// What the columns of its layout hold.
struct Columns {
    int integerBits = 32;
    bool onlyFinite = true;       ///< whether numbers must be finite
    std::size_t mostStatus = 64;  ///< letters of a status; 0 without end
    bool onlyWestern = true;      ///< letters of a status, up to U+00FF
};

struct Engine {
    /// By its own name, as _Connection::DbmsName() tells it.
    std::string_view name;
    /// The name in brackets that its ODBC driver puts in front of the engine's messages; empty for
    /// a driver that puts none.
    std::string_view mark;
    /// Its folder in schema/.
    std::string_view layout;

    /// The language of statements when they reach the engine.
    Language language = Language::SqlServer;
    /// The statements that begin a transaction to write in, and undo it. Through ODBC they go as
    /// any other, so that the command time-out holds for them: what drivers have of their own for
    /// transactions waits for a silent server without end.
    const char* begin = "BEGIN";
    const char* rollback = "ROLLBACK";
    /// For a batch inside the caller's transaction. Null where such a batch can only be undone by
    /// the caller's rollback.
    const Savepoint* savepoint = nullptr;
    /// Whether a database is one file of tables, views and numbers that anybody may have made.
    bool isFile = false;
    /// Null where the engine looks after it by itself.
    const Room* room = nullptr;
    /// A statement that gives a row where values lie in blocks of periods: how many a block has.
    /// Blocks begin at multiples of it. Null where values are always rows.
    const char* periodsOfBlock = nullptr;
    /// Whether whoever writes keeps all others from writing.
    bool hasOneWriter = false;
    /// Whether readers wait for whoever writes what they read.
    bool readersWait = false;

    TextForm textForm = TextForm::Utf16;
    /// The longest text, in characters, that a parameter of the usual type takes.
    std::size_t mostVarchar = 4000;
    /// What its ODBC driver does with arrays, and what its layout's columns hold.
    Arrays arrays = {};
    Columns columns = {};

    /// What a message is about. Never null.
    Fault (*faultOf)(const Message& message) = nullptr;
};

}  // namespace mersola
