// mersola init, pack, unpack, upgrade and version.
#pragma once

#include <functional>
#include <iosfwd>
#include <optional>
#include <string>

#include "database/format.h"
#include "database/open_database.h"
#include "options/streams.h"

namespace mersola::tool {

/// Lays out a new file, an existing file that is an empty database, or what a connection string
/// leads to, if none of the tables is there. On failure there is no new file, and anything else is
/// as before; only that the output is lost comes when the database is laid out. What the server
/// does not know of the layout's options is told on `err`, a line each, and is no failure. Only a
/// file can be packed.
void Init(const DatabaseArgument& argument, const Keeping& keeping, bool hasViews,
          std::ostream& out, std::ostream& err);

struct UpgradeOptions {
    DatabaseArgument database;
    bool isDryRun = false;
    bool hasBackup = true;
    bool hasViews = false;  ///< makes the views as well, or makes them anew
};

/// Brings a database to the form that Init would lay out, forward only. A file is copied first, to
/// a new file beside it. Every step is a transaction of its own: what a failure leaves undone, the
/// next run does.
void Upgrade(const UpgradeOptions& options, std::ostream& out);

struct ConversionOptions {
    DatabaseArgument database;
    bool isPacking = true;     ///< otherwise the values become rows again
    std::string resolution{};  ///< rounds packed values to this step
};

/// Moves the values of a file into the other layout, in short transactions beside recorders and
/// readers. After a failure, an interruption or a kill, all values are there, and the next run goes
/// on, in either direction.
void Convert(const ConversionOptions& options, std::ostream& out, std::ostream* terminal);

/// Lays out a new SQLite file, lets `fill` write into it, and puts it in its place. Raises Failure,
/// and what `fill` raises; there is no new file then. Something of that name is not touched.
void MakeFile(const Database& database, const Keeping& keeping,
              const std::function<void(Mersola&)>& fill);

struct VersionOptions {
    DatabaseArgument database;
    std::optional<std::string> added;  ///< a version to append to the history first
    std::string info;
};

/// Answers for any database, laid out or not.
void Version(const VersionOptions& options, std::ostream& out);

/// Add the commands to the command line.
void AddInit(CLI::App& app, const Streams& streams);
void AddPack(CLI::App& app, const Streams& streams);
void AddUnpack(CLI::App& app, const Streams& streams);
void AddUpgrade(CLI::App& app, const Streams& streams);
void AddVersion(CLI::App& app, const Streams& streams);

}  // namespace mersola::tool
