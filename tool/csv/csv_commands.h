// mersola export and mersola import.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include <mersola/times.h>

#include "catalogue/asked_periods.h"
#include "database/database_argument.h"
#include "import_times.h"
#include "options/streams.h"

namespace mersola::tool {

struct ExportOptions {
    DatabaseArgument database;
    std::string instrument;  ///< this and the next: a name or a number; all when empty
    std::string measurement;
    std::string report;                   ///< a number; all when empty
    std::optional<std::int32_t> channel;  ///< all when none is given
    std::string function;                 ///< a name or a number; all when empty
    AskedPeriods periods;
    bool isWide = false;   ///< a column for each band
    bool isPlain = false;  ///< without what else the database holds
    std::string file;      ///< the output when empty or "-"
};

void Export(const ExportOptions& options, std::ostream& out);

/// Which period a time belongs to: the one that begins nearest to it, or that it lies in.
enum class Align { Nearest, Floor };

struct ImportOptions {
    DatabaseArgument database;
    std::string file;        ///< the input for "-"
    std::string instrument;  ///< this and what follows: where the file has no column for it
    std::string measurement;
    std::string report = "1";
    std::string channel = "1";
    std::string function;
    std::string band = "broadband";
    std::optional<CTimeSpanEx> period;  ///< length of one
    std::optional<CTimeEx> start;       ///< of a new measurement
    std::string zone;                   ///< whose local times are stored; may be empty
    Align align = Align::Nearest;
    std::vector<std::string> columns;    ///< "value=Laeq": which header stands for what
    std::vector<std::string> functions;  ///< "LAeq=Laeq": columns that hold a function each
    std::vector<std::string> bands;      ///< the headers of columns that hold a band each
    bool isWide = false;                 ///< every column that is nothing else holds a band
    bool areBandNumbers = false;         ///< a bare number is that of a band, not a frequency
    std::vector<std::string> missing;    ///< what stands where there is no value
    std::string encoding = "utf-8";
    std::optional<char> separator;  ///< this and what follows: seen in the file, if not given
    std::optional<bool> hasDecimalComma;
    std::optional<std::size_t> heading;  ///< line of the column names
    std::optional<TimeForm> times;
};

/// Adds what a file holds to a database, in short transactions; after an error or an interruption
/// the same call goes on behind those that were done. `terminal`: where to show the progress, may
/// be null.
void Import(const ImportOptions& options, std::ostream& out, std::ostream* terminal);

/// Add the commands to the command line.
void AddExport(CLI::App& app, const Streams& streams);
void AddImport(CLI::App& app, const Streams& streams);

}  // namespace mersola::tool
