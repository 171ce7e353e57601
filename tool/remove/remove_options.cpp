// The options of mersola prune and mersola delete.
#include <memory>

#include "basics/times_text.h"
#include "options/command_options.h"
#include "remove.h"

namespace mersola::tool {
namespace {

void AddRemoval(Command& command, RemovalOptions& given) {
    command.Texts("--recording-files", given.recordingFolders,
                  "Delete the recording files of deleted markers, too, below this folder; can be "
                  "given several times [leave them]");
    command.Flag("--dry-run", given.isDryRun, "Say what would go, and delete nothing");
    command.Flag("--yes", given.isConfirmed, "Do not ask");
    const auto parse = [](const std::string& text) -> std::optional<std::chrono::milliseconds> {
        const auto span = ParsePeriod(text);
        if (!span) return std::nullopt;
        return std::chrono::milliseconds(span->GetTotalMilliseconds());
    };
    command.Parsed("--pause", given.pause, parse, kPeriodForm,
                   "Rest so long after each transaction, for a slow disk [as long as it took]");
    AddTimeout(command, given.database);
}

}  // namespace

void AddPrune(CLI::App& app, const Streams& streams) {
    const auto given = std::make_shared<PruneOptions>();
    Command command(app, "prune", "Delete what is old");
    AddDatabase(command, given->database);
    const Option keep = command.Parsed("--keep", given->keep, ParseAge, "an age, as 90d or 12h",
                                       "Delete what ended longer ago: 90d, 12w or 36h");
    const Option before = command.Parsed("--before", given->before, ParseTimeOrDate,
                                         kTimeOrDateForm, "Delete what ended before this time");
    keep.Excludes(before);
    command.Text("--instrument", given->instrument, "Name or number of the only instrument [all]");
    AddRemoval(command, *given);
    command.Flag("--force", given->isForced, "Accept a time that lies in the future");
    command.Run([=] {
        if (!given->keep && !given->before)
            throw Failure("one of --keep and --before says what is old; see mersola prune --help",
                          2);
        Prune(*given, streams.out, streams.terminal);
    });
    command.Footer(
        "Measurements that ended by then go whole, and of those that reach past it the periods and "
        "markers\n"
        "that have ended. Recorders and readers go on meanwhile. After an interruption the same "
        "command goes on.\n"
        "Without --yes it shows what goes and asks. Times are those of this machine's clock, "
        "without a zone.");
}

void AddDelete(CLI::App& app, const Streams& streams) {
    const auto given = std::make_shared<DeleteOptions>();
    Command command(app, "delete", "Delete an instrument, a measurement, or some of its values");
    AddDatabase(command, given->database);
    command.Text("--instrument", given->instrument, "Name or number of the instrument").Required();
    command.Text("--measurement", given->measurement,
                 "Name or number of the only measurement [all, and the instrument]");
    command.Parsed("--from", given->from, ParseTimeOrDate, kTimeOrDateForm,
                   "Only values of periods that begin then or later");
    command.Parsed("--to", given->to, ParseTimeOrDate, kTimeOrDateForm,
                   "Only values of periods that begin before then");
    command.Text("--channel", given->channel, "Only values of this channel, by its number");
    command.Text("--function", given->function, "Only values of this function");
    AddRemoval(command, *given);
    command.Run([=] {
        RequireForward(given->from, given->to);
        Delete(*given, streams.out, streams.terminal);
    });
    command.Footer(
        "Stop the recorder of what goes first; others go on. Without --from and --to, functions "
        "and reports go\n"
        "with their values, and a measurement of which all goes goes with its markers. With them "
        "only values\n"
        "go. After an interruption the same command goes on. Without --yes it shows what goes and "
        "asks.");
}

}  // namespace mersola::tool
