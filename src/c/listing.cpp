// What a database holds, as listings.
#include <memory>

#include "list.h"

using namespace mersola;
using namespace mersola::c;

namespace {

using List = std::unique_ptr<mersola_list>;
using Reports = CArray<ReportInfo, ReportInfo&>;
using Measurements = CArray<MeasurementInfo, MeasurementInfo&>;
using Markers = CArray<MarkerInfo, MarkerInfo&>;

// Hands out the list that `fill` makes.
template <class Fill>
int32_t Listed(mersola_db* db, mersola_list** list, Fill fill) {
    return Call(db, [&](mersola_db& open) {
        mersola_list*& out = Required(list, "the place of the list");
        out = List(fill(open)).release();
    });
}

void Check(const mersola_db& db, bool isRead, const char* what) {
    if (!isRead) db.Fail({MERSOLA_FAILED, std::string(what) + " cannot be read"});
}

List MarkerList(const Markers& markers) {
    auto list = std::make_unique<mersola_list>(std::initializer_list<int32_t>{
        MERSOLA_ID, MERSOLA_TYPE, MERSOLA_EXT_TYPE, MERSOLA_START, MERSOLA_STOP, MERSOLA_PATH,
        MERSOLA_TRIGGER, MERSOLA_FUNCTION, MERSOLA_BAND, MERSOLA_COLOR, MERSOLA_IS_OPEN,
        MERSOLA_INSTRUMENT, MERSOLA_MEASUREMENT});
    for (const MarkerInfo& marker : markers) {
        CTimeEx start, stop;
        start.SetStatus(COleDateTime::invalid);
        stop.SetStatus(COleDateTime::invalid);
        CTimeEx::FromText(marker.Start, start);
        if (!marker.inProgess) CTimeEx::FromText(marker.Stop, stop);
        list->Add({marker.MarkerId, marker.MarkerType, marker.ExtMarkerType, start, stop,
                   marker.Path, marker.TriggerCondition, marker.funcId, marker.frqId, marker.Color,
                   marker.inProgess ? 1 : 0, marker.GroupId, marker.MeasId});
    }
    return list;
}

}  // namespace

int32_t mersola_instruments(mersola_db* db, mersola_list** list) {
    return Listed(db, list, [](mersola_db& open) {
        CArray<InstrumentInfo, InstrumentInfo&> instruments;
        Check(open, open.fresh.GetInstrumentsAndAlarms(instruments), "the instruments");
        auto out = std::make_unique<mersola_list>(std::initializer_list<int32_t>{
            MERSOLA_ID, MERSOLA_NAME, MERSOLA_TYPE, MERSOLA_INFO, MERSOLA_STATE});
        for (const InstrumentInfo& info : instruments)
            out->Add({info.GroupId, info.GroupName, info.Type, info.Info, info.State});
        return out;
    });
}

int32_t mersola_measurements(mersola_db* db, int32_t instrument, mersola_list** list) {
    return Listed(db, list, [&](mersola_db& open) {
        Measurements measurements;
        Check(open, open.Lister(instrument, kNone).GetMeasurements(measurements),
              "the measurements");
        auto out = std::make_unique<mersola_list>(std::initializer_list<int32_t>{
            MERSOLA_ID, MERSOLA_NAME, MERSOLA_INFO, MERSOLA_START, MERSOLA_BANDWIDTH,
            MERSOLA_FULLSCALE, MERSOLA_SENSITIVITY, MERSOLA_LOWER_FRQ, MERSOLA_UPPER_FRQ});
        for (const MeasurementInfo& info : measurements)
            out->Add({info.MeasId, info.MeasName, info.Info, info.StartAt, info.BandWidth,
                      info.Fullscale, info.Sensitivity, info.FrqLower, info.FrqUpper});
        return out;
    });
}

int32_t mersola_percentiles(mersola_db* db, int32_t instrument, int32_t measurement,
                            mersola_list** list) {
    return Listed(db, list, [&](mersola_db& open) {
        CArray<float, float> percentiles;
        if (!open.Lister(instrument, kNone)._GetPercentiles(percentiles, measurement, nullptr))
            open.Fail({MERSOLA_NOT_FOUND, "there are no percentiles"});
        auto out =
            std::make_unique<mersola_list>(std::initializer_list<int32_t>{MERSOLA_PERCENTILE});
        for (const float percentile : percentiles)
            out->Add({double{percentile}});
        return out;
    });
}

int32_t mersola_reports(mersola_db* db, int32_t instrument, int32_t measurement,
                        mersola_list** list) {
    return Listed(db, list, [&](mersola_db& open) {
        Reports reports;
        Check(open, open.Lister(instrument, measurement).GetReports(reports), "the reports");
        auto out = std::make_unique<mersola_list>(std::initializer_list<int32_t>{
            MERSOLA_ID, MERSOLA_TYPE, MERSOLA_PERIOD_LENGTH, MERSOLA_REAL_LENGTH, MERSOLA_PERIODS});
        for (const ReportInfo& info : reports)
            out->Add({measurement == MERSOLA_CONTINUOUS ? info.ReportType : info.ReportId,
                      info.ReportType, info.PeriodLen.GetTotalMilliseconds(),
                      (info.realPeriodLenSet ? info.RealPeriodLen : info.PeriodLen)
                          .GetTotalMilliseconds(),
                      info.noOfPeriods});
        return out;
    });
}

int32_t mersola_functions(mersola_db* db, int32_t instrument, int32_t measurement, int32_t report,
                          mersola_list** list) {
    return Listed(db, list, [&](mersola_db& open) {
        Store& store = open.Lister(instrument, measurement);
        auto out = std::make_unique<mersola_list>(
            std::initializer_list<int32_t>{MERSOLA_ID, MERSOLA_CHANNEL, MERSOLA_NAME});
        for (const FuncInfo& function : open.FunctionsOf(store, measurement, report))
            out->Add({function.FuncId, function.Channel, store.GetFunctionName(function.FuncId)});
        return out;
    });
}

int32_t mersola_chain(mersola_db* db, int32_t instrument, mersola_list** list) {
    return Listed(db, list, [&](mersola_db& open) {
        Measurements chain;
        Check(open, open.Lister(instrument, MERSOLA_CONTINUOUS).GetContinuousMeasurements(chain),
              "the continuous view");
        auto out = std::make_unique<mersola_list>(std::initializer_list<int32_t>{
            MERSOLA_MEASUREMENT, MERSOLA_NAME, MERSOLA_START, MERSOLA_REPORT, MERSOLA_TYPE,
            MERSOLA_PERIOD_LENGTH, MERSOLA_OFFSET, MERSOLA_PERIODS, MERSOLA_LOST_PERIODS});
        for (const MeasurementInfo& member : chain) {
            for (const ReportInfo& report : member.reports)
                out->Add({member.MeasId, member.MeasName, member.StartAt, report.ReportId,
                          report.ReportType, report.PeriodLen.GetTotalMilliseconds(),
                          report.periodOffset, report.noOfPeriods, report.missingPeriods});
        }
        return out;
    });
}

int32_t mersola_markers(mersola_db* db, int32_t instrument, int32_t measurement, int64_t from,
                        int64_t to, const char* type, mersola_list** list) {
    return Listed(db, list, [&](mersola_db& open) {
        const bool isAll = from == MERSOLA_NO_TIME && to == MERSOLA_NO_TIME;
        const CString wanted = Text(type, "the type");
        CTimeEx begin, end;
        if (!isAll) {
            begin = RequiredTime(from, "the beginning");
            end = RequiredTime(to, "the end");
        }
        Store& store = open.Lister(instrument, measurement);
        Markers markers;
        const int isRead =
            isAll ? wanted.IsEmpty() ? store.GetMarkers(markers) : store.GetMarkers(markers, wanted)
            : wanted.IsEmpty() ? store.GetMarkers(begin, end, markers)
                               : store.GetMarkers(begin, end, markers, wanted);
        Check(open, isRead, "the markers");
        return MarkerList(markers);
    });
}

int32_t mersola_open_markers(mersola_db* db, int32_t instrument, int32_t measurement,
                             mersola_list** list) {
    return Listed(db, list, [&](mersola_db& open) {
        Markers markers;
        Check(open, open.Lister(instrument, measurement).GetOpenMarkers(markers), "the markers");
        return MarkerList(markers);
    });
}
