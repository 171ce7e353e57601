// A provider that passes everything on to another one, notes the statements, and fails where a test
// tells it to.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <mersola/platform/com_error.h>

namespace mersola::test {

/// What all watched sessions of the process have run since Reset, and where they are to fail.
struct Watch {
    std::vector<std::string> statements;
    /// Asked before each statement; true makes it raise `error` instead of running.
    std::function<bool(std::string_view)> fails;
    /// The line is lost behind so many rows that come from now on; -1: it holds.
    int rowsBeforeLoss = -1;
    /// The name that the engine gives as its own; when it is empty, the true one.
    std::string dbmsName;
    _com_error error{DB_E_ERRORSINCOMMAND, "told to fail", "Watched"};

    void Reset() { *this = Watch(); }
    /// Fails every statement that holds `part`.
    void FailOn(std::string part) {
        fails = [part = std::move(part)](std::string_view sql) {
            return sql.find(part) != sql.npos;
        };
    }
};

/// A connection string with this at its end has its database watched.
inline constexpr const char* kWatched = ";Provider=Watched";

Watch& TheWatch();
void RegisterWatchedProvider();

}  // namespace mersola::test
