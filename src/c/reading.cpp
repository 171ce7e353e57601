// Selecting, and reading what is selected.
#include <memory>

#include "list.h"

using namespace mersola;
using namespace mersola::c;

namespace {

// The identifier that a look-up found.
int32_t Found(const mersola_db& db, long id, const char* what, const CString& name) {
    if (id == kNone)
        db.Fail({MERSOLA_NOT_FOUND,
                 "there is no " + std::string(what) + " " + std::string(name.View())});
    return static_cast<int32_t>(id);
}

int32_t InstrumentOf(mersola_db& db, const char* name) {
    const CString text = Text(name, "the name of the instrument");
    return Found(db, db.fresh.locateInstrumentId(text), "instrument", text);
}

int32_t MeasurementOf(mersola_db& db, int32_t instrument, const char* name) {
    const CString text = Text(name, "the name of the measurement");
    return Found(db, db.fresh.locateMeasurementId(instrument, text), "measurement", text);
}

// Selects anew, so that everything is read again.
void SelectReport(mersola_db& db, int32_t instrument, int32_t measurement, int32_t report) {
    db.isSelected = false;
    db.Clear(db.reader);
    Store& reader = db.reader;
    reader.SetInstrument(instrument);
    if (!reader.SetMeasurement(measurement))
        db.Fail(
            {MERSOLA_NOT_FOUND, measurement == MERSOLA_CONTINUOUS
                                    ? "there is no continuous view"
                                    : "there is no measurement " + std::to_string(measurement)});
    if (reader.SetReport(report)) return;
    // A report without values has no key yet.
    ReportInfo stored;
    if (measurement == MERSOLA_CONTINUOUS || !reader._GetReport(report, stored, nullptr))
        db.Fail({MERSOLA_NOT_FOUND, "there is no report " + std::to_string(report)});
}

CTimeEx StartOf(const Store& store) {
    CTimeEx start;
    store.GetTrigTime(start);
    if (!start.IsValid())
        throw Failure{MERSOLA_FAILED, "the start of the measurement cannot be read"};
    return start;
}

int64_t LengthOf(const Store& store) {
    CTimeSpanEx length;
    store.GetPrdLength(length);
    if (length.GetTotalMilliseconds() <= 0)
        throw Failure{MERSOLA_FAILED, "the length of the report's periods cannot be read"};
    return length.GetTotalMilliseconds();
}

template <class Value>
int32_t Read(mersola_db* db, int64_t first, int64_t periods, int32_t firstBand, int32_t bands,
             Value* values, uint8_t* status) {
    return Call(db, [&](mersola_db& open) {
        Store& store = open.Selected();
        if (periods < 1 || bands < 1) Refuse("a block has one period and one band at least");
        const int begin = Narrow(first, "the first period");
        Narrow(begin + int64_t{Narrow(periods, "the number of periods")}, "the end of the periods");
        Narrow(int64_t{firstBand} + bands, "the end of the bands");
        if (store.GetStoredData(&Required(values, "the array"), begin, static_cast<int>(periods),
                                firstBand, bands, reinterpret_cast<char*>(status)) != periods)
            open.Fail({MERSOLA_FAILED, "the values cannot be read"});
    });
}

}  // namespace

int32_t mersola_find_instrument(mersola_db* db, const char* name, int32_t* instrument) {
    return Call(db, [&](mersola_db& open) {
        int32_t& out = Required(instrument, "the place of the identifier");
        out = InstrumentOf(open, name);
    });
}

int32_t mersola_find_measurement(mersola_db* db, int32_t instrument, const char* name,
                                 int32_t* measurement) {
    return Call(db, [&](mersola_db& open) {
        int32_t& out = Required(measurement, "the place of the identifier");
        out = MeasurementOf(open, instrument, name);
    });
}

int32_t mersola_find_measurement_at(mersola_db* db, int32_t instrument, int64_t time,
                                    int32_t* measurement) {
    return Call(db, [&](mersola_db& open) {
        int32_t& out = Required(measurement, "the place of the identifier");
        RequiredTime(time, "the time");
        CArray<MeasurementInfo, MeasurementInfo&> measurements;
        if (!open.Lister(instrument, kNone).GetMeasurements(measurements))
            open.Fail({MERSOLA_FAILED, "the measurements cannot be read"});
        const MeasurementInfo* found = nullptr;
        for (const MeasurementInfo& info : measurements) {
            const int64_t start = Milliseconds(info.StartAt);
            if (start != MERSOLA_NO_TIME && start <= time &&
                (!found || start >= Milliseconds(found->StartAt)))
                found = &info;
        }
        if (!found) NotFound("no measurement began by " + IsoText(TimeOf(time)));
        out = found->MeasId;
    });
}

int32_t mersola_select(mersola_db* db, int32_t instrument, int32_t measurement, int32_t report,
                       int32_t channel, int32_t function) {
    return Call(db, [&](mersola_db& open) {
        SelectReport(open, instrument, measurement, report);
        open.reader.SetChannel(channel);
        open.reader.SetFunction(function);
        open.isSelected = true;
    });
}

int32_t mersola_select_names(mersola_db* db, const char* instrument, const char* measurement,
                             int32_t report, int32_t channel, const char* function) {
    return Call(db, [&](mersola_db& open) {
        open.isSelected = false;
        const CString wanted = Text(function, "the name of the function");
        const int32_t group = InstrumentOf(open, instrument);
        const int32_t member =
            measurement ? MeasurementOf(open, group, measurement) : MERSOLA_CONTINUOUS;
        SelectReport(open, group, member, report);
        for (const FuncInfo& info : open.FunctionsOf(open.reader, member, report)) {
            if (info.Channel != channel || open.reader.GetFunctionName(info.FuncId) != wanted)
                continue;
            open.reader.SetChannel(channel);
            open.reader.SetFunction(info.FuncId);
            open.isSelected = true;
            return;
        }
        open.Fail({MERSOLA_NOT_FOUND, "channel " + std::to_string(channel) +
                                          " of the report has no function " +
                                          std::string(wanted.View())});
    });
}

int32_t mersola_start(mersola_db* db, int64_t* start) {
    return Call(db, [&](mersola_db& open) {
        const int64_t time = Milliseconds(StartOf(open.Selected()));
        Required(start, "the place of the time") = time;
    });
}

int32_t mersola_period_length(mersola_db* db, int64_t* nominal, int64_t* measured) {
    return Call(db, [&](mersola_db& open) {
        const int64_t length = LengthOf(open.Selected());
        CTimeSpanEx real;
        open.reader.GetRealPrdLength(real);
        if (nominal) *nominal = length;
        if (measured) *measured = real.GetTotalMilliseconds();
    });
}

int32_t mersola_periods(mersola_db* db, int64_t* periods) {
    return Call(db, [&](mersola_db& open) {
        int64_t& out = Required(periods, "the place of the number");
        long count = 0;
        if (!open.Selected().Get_nPrds(count))
            open.Fail({MERSOLA_FAILED, "the number of periods cannot be read"});
        out = count;
    });
}

int32_t mersola_period_at(mersola_db* db, int64_t time, int64_t* period) {
    return Call(db, [&](mersola_db& open) {
        int64_t& out = Required(period, "the place of the number");
        RequiredTime(time, "the time");
        const int64_t length = LengthOf(open.Selected());
        const int64_t passed = time - Milliseconds(StartOf(open.reader));
        out = Narrow(passed / length - (passed % length < 0 ? 1 : 0), "the period");
    });
}

int32_t mersola_period_start(mersola_db* db, int64_t period, int64_t* time) {
    return Call(db, [&](mersola_db& open) {
        int64_t& out = Required(time, "the place of the time");
        const int64_t start = Milliseconds(StartOf(open.Selected()));
        int64_t passed = 0;
        if (__builtin_mul_overflow(Narrow(period, "the period"), LengthOf(open.reader), &passed) ||
            __builtin_add_overflow(start, passed, &passed))
            Refuse("the period begins beyond the years");
        RequiredTime(passed, "the beginning of the period");
        out = passed;
    });
}

int32_t mersola_stored_periods(mersola_db* db, int64_t* first, int64_t* last) {
    return Call(db, [&](mersola_db& open) {
        long begin = kNone, end = kNone;
        if (!open.Selected().GetStoredPeriods(begin, end))
            open.Fail({MERSOLA_NOT_FOUND, "no value is stored"});
        if (first) *first = begin;
        if (last) *last = end;
    });
}

int32_t mersola_bands(mersola_db* db, int64_t first, int64_t periods, mersola_list** list) {
    return Call(db, [&](mersola_db& open) {
        mersola_list*& out = Required(list, "the place of the list");
        Store& store = open.Selected();
        if (periods < -1) Refuse("the number of periods is -1, or from 0");
        CArray<int, int> bands;
        const int isRead = periods == -1 ? store.GetBands(bands)
                                         : store.GetBands(bands, Narrow(first, "the period"),
                                                          Narrow(periods, "the number of periods"));
        if (!isRead) open.Fail({MERSOLA_FAILED, "the bands cannot be read"});
        auto found = std::make_unique<mersola_list>(std::initializer_list<int32_t>{MERSOLA_BAND});
        for (const int band : bands)
            found->Add({band});
        out = found.release();
    });
}

int32_t mersola_read_float(mersola_db* db, int64_t first, int64_t periods, int32_t first_band,
                           int32_t bands, float* values, uint8_t* status) {
    return Read(db, first, periods, first_band, bands, values, status);
}

int32_t mersola_read_double(mersola_db* db, int64_t first, int64_t periods, int32_t first_band,
                            int32_t bands, double* values, uint8_t* status) {
    return Read(db, first, periods, first_band, bands, values, status);
}

int32_t mersola_read_overview(mersola_db* db, const int64_t* edges, int64_t steps,
                              int32_t first_band, int32_t bands, int64_t* counts, double* least,
                              double* greatest, double* means, double* energy_means,
                              double* mean_squares, int64_t* least_periods,
                              int64_t* greatest_periods) {
    return Call(db, [&](mersola_db& open) {
        Store& store = open.Selected();
        if (steps < 1 || bands < 1) Refuse("an overview has one step and one band at least");
        Narrow(int64_t{first_band} + bands, "the end of the bands");
        if (steps > INT32_MAX / bands) Refuse("the overview has too many steps");
        const int64_t* const all = &Required(edges, "the array of edges");
        CArray<int, int> asked;
        for (int64_t i = 0; i <= steps; ++i) {
            if (i > 0 && all[i] < all[i - 1]) Refuse("the edges do not ascend");
            asked.Add(Narrow(all[i], "an edge"));
        }
        const unsigned figures = (mean_squares ? kMeanSquares : 0U) |
                                 (least_periods || greatest_periods ? kExtremePeriods : 0U);
        CArray<StepSummary, StepSummary&> found;
        if (!store.GetOverview(found, asked, first_band, bands, figures))
            open.Fail({MERSOLA_FAILED, "the values cannot be summarised"});
        const auto give = [&](auto* out, auto figure) {
            if (!out) return;
            for (const StepSummary& summary : found)
                *out++ = summary.*figure;
        };
        give(counts, &StepSummary::count);
        give(least, &StepSummary::least);
        give(greatest, &StepSummary::greatest);
        give(means, &StepSummary::mean);
        give(energy_means, &StepSummary::energyMean);
        give(mean_squares, &StepSummary::meanSquare);
        give(least_periods, &StepSummary::leastPeriod);
        give(greatest_periods, &StepSummary::greatestPeriod);
    });
}
