// A database file from somebody else: it is listed, read, checked and exported, or refused.
#include <string_view>
#include <vector>

#include <mersola/mersola.h>

#include "property.h"
#include "tool_runs.h"

namespace mersola::fuzz {
namespace {

// The input is the file, or says which bytes of a good one to change: three for the place, and the
// new one. A place behind the end cuts the file off instead, at a page of 512 bytes.
std::string FileOf(std::string_view input) {
    static const std::string good = GoodDatabase();
    if (input.starts_with("SQLite format 3")) return std::string(input);
    std::string file = good;
    const auto byte = [&](std::size_t i) {
        return static_cast<std::size_t>(static_cast<unsigned char>(input[i]));
    };
    for (; input.size() >= 4; input.remove_prefix(4)) {
        const std::size_t at = byte(0) | byte(1) << 8 | byte(2) << 16;
        if (at < file.size())
            file[at] = input[3];
        else
            file.resize(at % (file.size() / 512 + 1) * 512);
        if (file.empty()) break;
    }
    return file;
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

void Read(const std::string& path) {
    const auto before = SetMessageBoxHandler([](const char*, unsigned) {});
    try {
        Mersola store(nullptr, nullptr,
                      ("Provider=SQLite;Mode=Read;Data Source={" + path + "}").c_str(), 5);
        if (store.isConnected()) ReadAll(store);
    } catch (const _com_error&) {
    }
    SetMessageBoxHandler(before);
}

void Check(std::string_view input) {
    static const ScratchFile file("input.db");
    file.Write(FileOf(input));
    Read(file.Path());
    Run("list", {file.Path()});
    for (const char* measurement : {"1", "2"}) {
        const std::vector<std::string> which{file.Path(), "--instrument", "1", "--measurement",
                                             measurement};
        Run("values", which);
        Run("markers", which);
    }
    Run("gaps", {file.Path(), "--instrument", "1"});
    Run("export", {file.Path()});
    Run("check", {file.Path()});
}

}  // namespace
}  // namespace mersola::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    mersola::fuzz::Check(mersola::fuzz::TextOf(data, size));
    return 0;
}
