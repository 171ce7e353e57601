// A database file from somebody else, or the log beside it: it is listed, read, checked, exported
// brought up to date and salvaged, or refused.
#include <iterator>
#include <string_view>
#include <vector>

#include <mersola/mersola.h>

#include "check/check.h"
#include "csv/csv_commands.h"
#include "layout/layout.h"
#include "property.h"
#include "salvage/salvage.h"
#include "show/show.h"
#include "tool_runs.h"

namespace mersola::fuzz {
namespace {

// Changes bytes: three say where, and one what it becomes. A place behind the end cuts off
// instead, at a page of 512 bytes.
void Change(std::string& bytes, std::string_view changes) {
    const auto byte = [&](std::size_t i) {
        return static_cast<std::size_t>(static_cast<unsigned char>(changes[i]));
    };
    for (; changes.size() >= 4 && !bytes.empty(); changes.remove_prefix(4)) {
        const std::size_t at = byte(0) | byte(1) << 8 | byte(2) << 16;
        if (at < bytes.size())
            bytes[at] = changes[3];
        else
            bytes.resize(at % (bytes.size() / 512 + 1) * 512);
    }
}

// As a program reads that was linked with the library.
void ReadReport(Mersola& store, const ReportInfo& report) {
    if (store.SetReport(report.ReportId) != 1) return;
    long first = 0, last = 0;
    store.GetStoredPeriods(first, last);
    store.GetFirstPeriod(first);
    CTimeEx start;
    store.GetStartOfFirstPeriod(start);
    CArray<int, int> functions, bands;
    store.GetFunctions(functions);
    for (const int function : functions) {
        store.SetFunction(function);
        store.GetBands(bands);
        float values[8];
        char status[8];
        store.GetData(values, static_cast<int>(first), 4, 30, 2, status);
    }
    CList<funcData, funcData&> all;
    store.GetAllDataByPeriod(0, 10, all);
}

void ReadAll(Mersola& store) {
    versionHistory version;
    store.GetVersion(nullptr, version);
    CArray<InstrumentInfo, InstrumentInfo&> instruments;
    store.GetInstrumentsAndAlarms(instruments);
    for (const InstrumentInfo& instrument : instruments) {
        store.SetInstrument(instrument.GroupId);
        CArray<MeasurementInfo, MeasurementInfo&> measurements;
        store.GetMeasurements(measurements);
        std::vector<long> selected{-3};  // the continuous view
        for (const MeasurementInfo& each : measurements)
            selected.push_back(each.MeasId);
        for (const long measurement : selected) {
            store.SetMeasurement(measurement);
            CArray<ReportInfo, ReportInfo&> reports;
            store.GetReports(reports);
            for (const ReportInfo& report : reports)
                ReadReport(store, report);
            CArray<float, float> percentiles;
            store.GetPercentiles(percentiles);
            CArray<MarkerInfo, MarkerInfo&> markers;
            store.GetMarkers(markers);
            store.GetOpenMarkers(markers);
        }
    }
}

void Export(const tool::DatabaseArgument& file, bool isWide, std::ostream& out) {
    tool::ExportOptions options;
    options.database = file;
    options.isWide = isWide;
    tool::Export(options, out);
}

enum class How { Reading, Moving };

// Whoever closes a file last moves its log into it.
void Open(const std::string& path, How how) {
    const auto before = SetMessageBoxHandler([](const char*, unsigned) {});
    try {
        const char* const mode = how == How::Reading ? ";Mode=Read" : "";
        Mersola store(
            nullptr, nullptr,
            (std::string("Provider=SQLite") + mode + ";Data Source={" + path + "}").c_str(), 5);
        if (store.isConnected() && how == How::Reading) ReadAll(store);
    } catch (const _com_error&) {
    }
    SetMessageBoxHandler(before);
}

using Command = void (*)(const tool::DatabaseArgument& file, std::ostream& out);

// What somebody does with the file. One for each input: a database takes long to be opened.
constexpr Command kCommands[] = {
    [](const tool::DatabaseArgument& file, std::ostream&) { Open(file.text, How::Reading); },
    [](const tool::DatabaseArgument& file, std::ostream& out) { tool::List(file, false, out); },
    [](const tool::DatabaseArgument& file, std::ostream& out) {
        tool::ValuesOptions options;
        options.instrument = options.measurement = "1";
        options.allFunctions = true;
        options.database = file;
        tool::Values(options, out);
    },
    [](const tool::DatabaseArgument& file, std::ostream& out) {
        tool::MarkersOptions options;
        options.instrument = options.measurement = "1";
        options.database = file;
        tool::ShowMarkers(options, out);
    },
    [](const tool::DatabaseArgument& file, std::ostream& out) {
        tool::GapsOptions options;
        options.instrument = "1";
        options.database = file;
        tool::Gaps(options, out);
    },
    [](const tool::DatabaseArgument& file, std::ostream& out) { Export(file, false, out); },
    [](const tool::DatabaseArgument& file, std::ostream& out) { Export(file, true, out); },
    [](const tool::DatabaseArgument& file, std::ostream& out) {
        Open(file.text, How::Moving);  // beside a log check waits for a recorder
        tool::Check(file, out, out);
    },
    [](const tool::DatabaseArgument& file, std::ostream& out) {
        tool::UpgradeOptions options;
        options.database = file;
        options.hasBackup = false;
        tool::Upgrade(options, out);
    },
    [](const tool::DatabaseArgument& file, std::ostream& out) {
        static const ScratchFile saved("saved.db");
        saved.Remove();
        tool::Salvage(file.text, saved.Path(), out);
        const Outcome outcome =
            Run([&](std::ostream& findings) { tool::Check(saved.Database(), findings, findings); });
        Require(outcome.status == 0, "what was salvaged can be read", outcome.out);
    },
};

void Check(std::string_view input) {
    static const ScratchFile file("input.db");
    static const std::string rows = GoodDatabase(), packed = GoodDatabase(Layout::Packed);
    static const FileAndLog logged = GoodDatabaseWithLog();
    if (input.empty()) return;
    // The first byte says what the others change, and what is done then. They may be the file, too.
    constexpr std::size_t kCount = std::size(kCommands);
    const auto choice = static_cast<unsigned char>(input[0]);
    input.remove_prefix(1);
    const bool isLog = (choice & 1) != 0;
    const std::size_t command = choice / 4 % kCount;
    const bool isPacked = !isLog && choice / 4 / kCount % 2 == 1;
    std::string changed = isLog ? logged.log : isPacked ? packed : rows;
    if (input.starts_with("SQLite format 3"))
        changed = input;
    else
        Change(changed, input);
    if (isLog && (choice & 2) != 0) Seal(changed);
    file.Write(isLog ? logged.file : changed, isLog ? changed : "");
    const Outcome outcome =
        Run([&](std::ostream& out) { kCommands[command](file.Database(), out); });
    // Salvage does not know blocks yet.
    Require(outcome.status == 0 || !input.empty() || (isPacked && command == kCount - 1),
            "a good file is read", outcome.out);
}

}  // namespace
}  // namespace mersola::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    mersola::fuzz::Check(mersola::fuzz::TextOf(data, size));
    return 0;
}
