// The options of mersola init and mersola version.
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

void AddVersion(CLI::App& app, const Streams& streams) {
    const auto given = std::make_shared<VersionOptions>();
    Command command(app, "version", "Show the version history of a database");
    AddDatabase(command, given->database);
    const Option added = command.Text("--add", given->added, "A version to append to the history");
    command.Text("--info", given->info, "What that version is").Needs(added);
    command.Run([=] { Version(*given, streams.out); });
}

}  // namespace mersola::tool
