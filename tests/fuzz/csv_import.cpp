// CSV: any file is refused in one line, or read; what was read is exported, and imported as it is.
#include "check/check.h"
#include "csv/csv_commands.h"
#include "property.h"
#include "tool_runs.h"

namespace mersola::fuzz {
namespace {

// What may be said of a file. The first byte of the input chooses.
tool::ImportOptions OptionsOf(unsigned choice) {
    tool::ImportOptions options;
    const auto second = CTimeSpanEx(1000);
    if (choice != 0 && choice != 6) {
        options.instrument = "Pier 4";
        options.measurement = "noise";
        if (choice != 2) options.function = "Leq";
    }
    switch (choice) {
        case 1:
            options.period = second;
            break;
        case 2:
            options.period = second;
            options.functions = {"LAeq=LAeq", "Leq=Leq"};
            options.align = tool::Align::Floor;
            break;
        case 3:
            options.isWide = true;
            break;
        case 4:
            options.period = CTimeSpanEx(125);
            options.encoding = "latin1";
            options.times = tool::TimeForm::DayFirst;
            break;
        case 5:
            options.period = CTimeSpanEx(60000);
            options.zone = "Europe/Berlin";
            break;
        case 6:
            options.separator = ';';
            options.heading = 2;
            break;
        case 7:
            options.period = second;
            options.start = CTimeEx(2026, 11, 15, 7, 30, 0, 0);
            options.missing = {"NaN"};
            options.hasDecimalComma = true;
            break;
        default:
            break;
    }
    return options;
}

Outcome Import(const ScratchFile& database, const ScratchFile& file,
               tool::ImportOptions options = {}) {
    options.database = database.Database();
    options.file = file.Path();
    return Run([&](std::ostream& out) { tool::Import(options, out, nullptr); });
}

std::string Exported(const ScratchFile& database, bool isWide) {
    tool::ExportOptions options;
    options.database = database.Database();
    options.isWide = isWide;
    const Outcome outcome = Run([&](std::ostream& out) { tool::Export(options, out); });
    Require(outcome.status == 0, "what was imported can be exported", outcome.out);
    return outcome.out;
}

void CheckReadBack(const ScratchFile& first, bool isWide) {
    static const std::string empty = EmptyDatabase();
    static const ScratchFile second("second.db"), exported("exported.csv");
    const std::string text = Exported(first, isWide);
    exported.Write(text);
    second.Write(empty);
    const Outcome read = Import(second, exported);
    Require(read.status == 0, "what was exported can be imported", read.out + text);
    const std::string again = Exported(second, isWide);
    Require(again == text, "an export reads back", text + "\n--\n" + again);
}

void Check(const std::string& input) {
    static const std::string empty = EmptyDatabase(), good = GoodDatabase();
    static const ScratchFile database("first.db"), file("input.csv");
    if (input.empty()) return;
    const auto choice = static_cast<unsigned char>(input[0]);
    file.Write(input.substr(1));
    database.Write(choice & 8 ? good : empty);
    if (Import(database, file, OptionsOf(choice % 8)).status != 0) return;
    Run([&](std::ostream& out) { tool::Check(database.Database(), out, out); });
    CheckReadBack(database, (choice & 16) != 0);
}

}  // namespace
}  // namespace mersola::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    mersola::fuzz::Check(mersola::fuzz::TextOf(data, size));
    return 0;
}
