// What becomes of the command line, and of what the commands raise.
#include "cli.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include <mersola/engine.h>
#include <mersola/platform/com_error.h>

#include "basics/failure.h"
#include "check/check.h"
#include "copy/copy.h"
#include "csv/csv_commands.h"
#include "database/open_database.h"
#include "indices/indices.h"
#include "layout/layout.h"
#include "plot/plot.h"
#include "record/record.h"
#include "remove/remove.h"
#include "rename/rename.h"
#include "salvage/salvage.h"
#include "show/show.h"

namespace mersola::tool {
namespace {

constexpr const char* kPurpose =
    "Stores what monitoring instruments measure, period by period, and reads it back.";

// What the command line lacks, and where the help on it is.
std::string UsageLine(const CLI::App& app, const CLI::ParseError& error) {
    const auto commands = app.get_subcommands();
    if (!commands.empty())
        return std::string(error.what()) + "; see mersola " + commands.front()->get_name() +
               " --help";
    const auto others = app.remaining();
    return (others.empty() ? "no command is given"
                           : "there is no command " + Quoted(others.front())) +
           "; see mersola --help";
}

struct Revealing {
    std::string argument;
    std::string shown;  // instead of it
};

// What holds a password on the command line, where others can see it.
std::vector<Revealing> RevealingArguments(int argc, const char* const* argv) {
    std::vector<Revealing> found;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const bool follows = std::string_view(argv[i - 1]) == "--password" && !argument.empty();
        const std::string shown = follows ? "***" : WithoutPassword(argument);
        if (shown != argument) found.push_back({argument, shown});
    }
    return found;
}

// The parser quotes what it cannot make sense of.
std::string Hidden(std::string line, const std::vector<Revealing>& revealing) {
    for (const auto& [argument, shown] : revealing) {
        for (auto at = line.find(argument); at != line.npos; at = line.find(argument, at)) {
            line.replace(at, argument.size(), shown);
            at += shown.size();
        }
    }
    return line;
}

std::string Versions() {
    std::string text = std::string("mersola " MERSOLA_VERSION "\nSQLite ") + SqliteVersion();
    text += SqliteHasLogFault()
                ? ", which can lose rows (the WAL-reset bug, repaired in 3.51.3, 3.50.7 and "
                  "3.44.6); see docs/administration.md"
                : ", without the WAL-reset bug of earlier versions";
    return text;
}

}  // namespace

int RunTool(int argc, const char* const* argv, std::ostream& out, std::ostream& err) {
    const auto revealing = RevealingArguments(argc, argv);
    if (!revealing.empty())
        err << "mersola: warning: others can see a password on the command line; leave it out to "
               "be "
               "asked for it, or give a --password-file\n";
    const auto fail = [&](const std::string& line, int status) {
        if (!line.empty()) err << "mersola: " << Printable(Hidden(line, revealing)) << std::endl;
        return status;
    };
    const bool isOnTerminal = &err == &std::cerr && isatty(STDERR_FILENO) == 1;
    CLI::App app(kPurpose, "mersola");
    app.set_version_flag("--version", Versions(), "Show the version, and SQLite's");
    app.set_help_flag("-h,--help", "Show this help");
    app.require_subcommand(1);
    app.footer(
        "Help on a command: mersola COMMAND --help\n\n"
        "DB is a SQLite file, or the connection string of a server, which has keys as Provider=, "
        "Driver=,\n"
        "DSN= or the like: 'Provider=PostgreSQL;Data Source=HOST;Initial Catalog=NAME', or "
        "MSOLEDBSQL for\n"
        "SQL Server. A file of such a name can be given as ./NAME. The password of --user is asked "
        "for on the\n"
        "terminal, or read with --password-file; what stands on a command line, others can see.");
    const Streams streams{out, err, isOnTerminal ? &err : nullptr};
    AddInit(app, streams);
    AddRecord(app, streams);
    AddList(app, streams);
    AddValues(app, streams);
    AddPlot(app, streams);
    AddIndices(app, streams);
    AddGaps(app, streams);
    AddMarkers(app, streams);
    AddCopy(app, streams);
    AddExport(app, streams);
    AddImport(app, streams);
    int status = 0;  // of a command that did its work
    AddCheck(app, streams, status);
    AddSalvage(app, streams, status);
    AddPack(app, streams);
    AddUnpack(app, streams);
    AddPrune(app, streams);
    AddDelete(app, streams);
    AddRename(app, streams);
    AddUpgrade(app, streams);
    AddVersion(app, streams);
    try {
        try {
            app.parse(argc, argv);
        } catch (const CLI::ParseError& error) {
            if (error.get_exit_code() != 0) return fail(UsageLine(app, error), 2);
            app.exit(error, out, err);  // prints the help or the version
        }
        out.flush();
        RequireWritten(out);
        return status;
    } catch (const Failure& failure) {
        return fail(failure.what(), failure.Status());
    } catch (const _com_error& error) {
        return fail(
            "the database refused (" + std::string(error.what()) + "); " + AdviceOn(error.what()),
            1);
    } catch (const std::exception& error) {
        return fail(std::string("unexpected: ") + error.what() + "; please report this", 1);
    }
}

}  // namespace mersola::tool
