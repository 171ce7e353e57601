// The options of mersola init, pack, unpack, upgrade and version.
#include "layout.h"

#include <memory>
#include <optional>
#include <string>

#include "basics/times_text.h"
#include "options/command_options.h"

namespace mersola::tool {
namespace {

std::optional<mersola::Layout> ParseLayout(const std::string& text) {
    if (text == "rows") return mersola::Layout::Rows;
    if (text == "packed") return mersola::Layout::Packed;
    return std::nullopt;
}

// A step as it is stored.
std::optional<std::string> ParseResolution(const std::string& text) {
    constexpr double most = 100;
    constexpr std::size_t places = 6;
    const auto point = text.find('.');
    const bool isPlain = text.find_first_not_of("0123456789.") == text.npos &&
                         (point == text.npos || text.size() - point - 1 <= places);
    const auto step = isPlain ? ParseNumber<double>(text) : std::nullopt;
    if (!step || *step <= 0 || *step > most) return std::nullopt;
    return NumberText(*step);
}

Option AddResolution(Command& command, std::string& resolution) {
    return command.Parsed("--resolution", resolution, ParseResolution,
                          "a decimal above 0, up to 100, with up to six places",
                          "Round packed values to this step, such as 0.01");
}

}  // namespace

void AddInit(CLI::App& app, const Streams& streams) {
    Command command(app, "init", "Lay out a new database");
    auto database = std::make_shared<DatabaseArgument>();
    const auto keeping = std::make_shared<Keeping>();
    const auto hasViews = std::make_shared<bool>(false);
    AddDatabase(command, *database);
    command
        .Parsed(
            "--layout", keeping->layout, ParseLayout, "rows or packed",
            "How the values lie: rows, which every program reads, or packed, in a fraction of the "
            "room")
        .Default("rows");
    AddResolution(command, keeping->resolution);
    command.Flag("--views", *hasViews,
                 "Make views that programs such as Grafana read, with names and times");
    command.Run([=] {
        if (!keeping->resolution.empty() && !keeping->IsPacked())
            throw Failure(
                "only packed values are rounded; add --layout packed, or leave out "
                "--resolution",
                2);
        Init(*database, *keeping, *hasViews, streams.out, streams.err);
    });
    command.Footer(
        "A file that exists is refused, unless it is an empty database, and a server's database "
        "that has\n"
        "one of the tables. Only a file can be packed; mersola pack and mersola unpack convert it "
        "later.");
}

void AddPack(CLI::App& app, const Streams& streams) {
    const auto given = std::make_shared<ConversionOptions>();
    Command command(app, "pack", "Pack the values of a file, in a fraction of the room");
    AddDatabase(command, given->database);
    AddResolution(command, given->resolution);
    AddTimeout(command, given->database);
    command.Run([=] { Convert(*given, streams.out, streams.terminal); });
    command.Footer(
        "Recorders and readers may go on meanwhile, if they have this version of mersola. After a "
        "stop of\n"
        "any kind all values are there, and the same command goes on. mersola unpack is the way "
        "back; digits\n"
        "that were rounded away do not come back.");
}

void AddUnpack(CLI::App& app, const Streams& streams) {
    const auto given = std::make_shared<ConversionOptions>();
    given->isPacking = false;
    Command command(app, "unpack", "Make packed values rows again, which every program reads");
    AddDatabase(command, given->database);
    AddTimeout(command, given->database);
    command.Run([=] { Convert(*given, streams.out, streams.terminal); });
    command.Footer(
        "Recorders and readers may go on meanwhile. After a stop of any kind all values are there, "
        "and the\n"
        "same command goes on.");
}

void AddUpgrade(CLI::App& app, const Streams& streams) {
    const auto given = std::make_shared<UpgradeOptions>();
    const auto noBackup = std::make_shared<bool>(false);
    Command command(app, "upgrade", "Bring an older database to today's form");
    AddDatabase(command, given->database);
    command.Flag("--dry-run", given->isDryRun, "Say what would be done, and do nothing");
    command.Flag("--no-backup", *noBackup, "Make no copy first");
    command.Flag("--views", given->hasViews,
                 "Make the views of mersola init --views, in the place of earlier ones");
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
