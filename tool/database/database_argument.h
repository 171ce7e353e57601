// How a command line names a database.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace mersola::tool {

/// A database as it was asked for, and who logs in to it.
struct DatabaseArgument {
    std::string text;               ///< a SQLite file, or a connection string
    std::string user;               ///< for a connection string that names none
    std::string passwordFile;       ///< for a connection string that holds no password
    std::optional<long> timeout{};  ///< seconds to wait for others; else as fits the engine
};

/// Whether a text has a key of connection strings, "Provider=", "Driver=", "DSN=" or another, in
/// any case. A file of such a name can be given with a folder, as "./DSN=x".
bool IsConnectionString(std::string_view text);

/// The value that a connection string gives to one of the keys; of several the last, as providers
/// read it. Empty when there is none.
std::string ConnectionValue(std::string_view text, std::span<const std::string_view> keys);

inline constexpr std::string_view kProviderKeys[]{"Provider"};
inline constexpr std::string_view kSourceKeys[]{"Data Source"};
inline constexpr std::string_view kUserKeys[]{"User ID", "UID", "User"};
inline constexpr std::string_view kPasswordKeys[]{"Password", "PWD"};

/// The database as a shell's command names it, with the options that log in. A password in the
/// connection string is left out: it is asked for.
std::string ShellText(const DatabaseArgument& database);

/// The text fit to be shown, with asterisks for each password in it.
std::string WithoutPassword(std::string_view text);

}  // namespace mersola::tool
