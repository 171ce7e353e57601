// The options of mersola check.
#include "check.h"

#include <memory>

#include "options/command_options.h"

namespace mersola::tool {

void AddCheck(CLI::App& app, const Streams& streams, int& status) {
    const auto given = std::make_shared<DatabaseArgument>();
    Command command(app, "check", "Find what must never be in a database");
    AddDatabase(command, *given);
    command.Run([=, &status] { status = Check(*given, streams.out, streams.err) ? 0 : 1; });
    command.Footer(
        "A line for each finding, and a last one with their number; the exit status is 1 if there "
        "is any.\n"
        "Remarks are none, as on functions and bands without a name. Of a SQLite file, its own "
        "check comes\n"
        "first. Nothing is written. While something is recorded, an event that goes on shows as an "
        "open "
        "marker.\n"
        "Measurements that overlap are none of it: mersola gaps shows them.");
}

}  // namespace mersola::tool
