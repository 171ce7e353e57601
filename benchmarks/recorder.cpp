// Registration, step by step as a recording program does it.
#include "recorder.h"

#include <stdexcept>

namespace {

void Require(bool done, const char* step) {
    if (!done) throw std::runtime_error(std::string("The library refused ") + step);
}

}  // namespace

Recorder::Recorder(const std::string& path, std::string connectString, mersola::Layout layout) {
    if (!path.empty()) LayOut(OpenDatabase(path).get(), layout);
    if (connectString.find("Data Source") == std::string::npos && !path.empty())
        connectString = "Provider=SQLite;Data Source={" + path + "}" + connectString;
    session_.Initialize(nullptr, nullptr, connectString.c_str(), -1);
    Require(session_.isConnected(), "the connection");
    InstrumentInfo instrument;
    instrument.GroupName = "bench";
    Require(session_.PutInstrument(nullptr, instrument), "the instrument");
    MeasurementInfo measurement;
    measurement.MeasName = "bench";
    measurement.StartAt = CTimeEx::GetCurrentTime();
    Require(session_.PutMeasurement(nullptr, instrument.GroupId, measurement), "the measurement");
    ReportInfo report;
    report.ReportId = 1;
    report.ReportType = 1;
    report.PeriodLen = CTimeSpanEx(125);
    Require(session_.PutReport(nullptr, report), "the report");
    for (int channel = 1; channel <= kChannels; ++channel) {
        for (int function = 1; function <= kFunctions; ++function) {
            Require(session_.PutFunction(nullptr, function, channel), "a function");
        }
    }
    const _RecordsetPtr key = session_.dbExecute("SELECT MeasValueId FROM MeasValueMap");
    measValueId_ = key->Fields(0).Long();
    Require(session_.SetInstrument(instrument.GroupId) == 1, "the selection of the instrument");
    Require(session_.SetMeasurement(measurement.MeasId) == 1, "the selection of the measurement");
    Require(session_.SetReport(report.ReportId) == 1, "the selection of the report");
}
