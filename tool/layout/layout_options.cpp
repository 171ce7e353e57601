// The options of mersola init, mersola upgrade and mersola version.
#include "layout.h"

#include <memory>

#include "options/command_options.h"

namespace mersola::tool {

void AddInit(CLI::App& app, const Streams& streams) {
    Command command(app, "init", "Lay out a new database");
    auto database = std::make_shared<DatabaseArgument>();
    AddDatabase(command, *database);
    command.Run([=] { Init(*database, streams.out, streams.err); });
    command.Footer(
        "A file that exists is refused, unless it is an empty database, and a server's database "
        "that has\n"
        "one of the tables.");
}

void AddUpgrade(CLI::App& app, const Streams& streams) {
    const auto given = std::make_shared<UpgradeOptions>();
    const auto noBackup = std::make_shared<bool>(false);
    Command command(app, "upgrade", "Bring an older database to today's form");
    AddDatabase(command, given->database);
    command.Flag("--dry-run", given->isDryRun, "Say what would be done, and do nothing");
    command.Flag("--no-backup", *noBackup, "Make no copy first");
    command.Run([=] {
        given->hasBackup = !*noBackup;
        Upgrade(*given, streams.out);
    });
    command.Footer(
        "A file DB is first copied to DB.before-upgrade-1, or the next number that is free. "
        "Recorders may go\n"
        "on meanwhile; what they add after the copy is in DB alone. There is no way back but the "
        "copy.");
}

void AddVersion(CLI::App& app, const Streams& streams) {
    const auto given = std::make_shared<VersionOptions>();
    Command command(app, "version", "Show the version history of a database");
    AddDatabase(command, given->database);
    const Option added = command.Text("--add", given->added, "A version to append to the history");
    command.Text("--info", given->info, "What that version is").Needs(added);
    command.Run([=] { Version(*given, streams.out); });
}

}  // namespace mersola::tool
