// The options of mersola salvage.
#include <memory>
#include <utility>

#include "options/command_options.h"
#include "salvage.h"

namespace mersola::tool {

void AddSalvage(CLI::App& app, const Streams& streams, int& status) {
    const auto given = std::make_shared<std::pair<std::string, std::string>>();
    Command command(app, "salvage", "Save what a damaged file still holds");
    command.Text("DAMAGED", given->first, "A SQLite file; its log is read as well").Required();
    command.Text("NEW", given->second, "The file to make").Required();
    command.Run(
        [=, &status] { status = Salvage(given->first, given->second, streams.out) ? 0 : 1; });
    command.Footer(
        "Stop all programs that use DAMAGED; nothing is written to it. A line for each thing that "
        "is lost,\n"
        "and a last one with what was read; the exit status is 1 if anything is lost or was put "
        "aside. On a\n"
        "failure there is no NEW.");
}

}  // namespace mersola::tool
