// The options of mersola rename.
#include <memory>

#include "options/command_options.h"
#include "rename.h"

namespace mersola::tool {

void AddRename(CLI::App& app, const Streams& streams) {
    const auto given = std::make_shared<RenameOptions>();
    Command command(app, "rename", "Rename an instrument, a measurement, a function or a band");
    AddDatabase(command, given->database);
    command.Text("--to", given->to, "The new name").Required();
    const Option instrument =
        command.Text("--instrument", given->instrument, "Name or number of the instrument");
    const Option measurement =
        command.Text("--measurement", given->measurement, "Name or number of its measurement");
    measurement.Needs(instrument);
    const Option function =
        command.Text("--function", given->function, "Name or number of the function");
    const Option band = command.Text("--band", given->band,
                                     "Name or number of the band; with --instrument and "
                                     "--measurement only its values there");
    function.Excludes(instrument).Excludes(band);
    AddTimeout(command, given->database);
    command.Run([=] {
        if (!instrument.IsGiven() && !function.IsGiven() && !band.IsGiven())
            throw Failure(
                "one of --instrument, --function and --band says what to rename; see mersola "
                "rename --help",
                2);
        Rename(*given, streams.out, streams.terminal);
    });
    command.Footer(
        "Where --to is the name of another band, the values of --band go to that one, in short "
        "transactions\n"
        "beside recorders; it is refused where both have values. After an interruption the same "
        "command goes on.\n"
        "Recorders that still use the old name of an instrument or measurement start a new one "
        "with it.");
}

}  // namespace mersola::tool
