// Recording: registration, values and markers.
#include <algorithm>
#include <cmath>
#include <limits>

#include "handle.h"
#include "times.h"

using namespace mersola;
using namespace mersola::c;

namespace {

// What a recorder is told where the database has no words of its own.
void Check(const mersola_db& db, bool isDone, const char* otherwise) {
    if (!isDone) db.Fail({MERSOLA_FAILED, otherwise});
}

// A value with its place.
struct Value {
    int period;
    int function;
    int channel;
    int band;
    double value;
    uint8_t status;

    bool IsLeftOut() const {
        return status == MERSOLA_MISSING || (std::isnan(value) && status != MERSOLA_INVALID);
    }
};

CString StatusText(uint8_t status) {
    return status == MERSOLA_VALID ? CString() : CString(static_cast<char>(status), 1);
}

int Period(int64_t period) {
    if (period < 0 || period >= std::numeric_limits<int32_t>::max())
        Refuse("the period " + std::to_string(period) + " is out of its range");
    return static_cast<int>(period);
}

void RequireStorable(const Value& value) {
    if (value.status > 127 || value.status == '\'')
        Refuse("the status " + std::to_string(value.status) + " is no ASCII character");
    if (value.status != MERSOLA_INVALID && !std::isfinite(value.value))
        Refuse("the value of period " + std::to_string(value.period) + " is not finite");
}

Store& Writer(mersola_db& db) {
    db.RequireWritable();
    return db.recorder;
}

Store& Recording(mersola_db& db) {
    Store& store = Writer(db);
    if (!store.IsRecording()) Refuse("no report is being recorded");
    return store;
}

bool Put(Store& store, const Value& value, const _RecordsetPtr& batch, long& next) {
    const double number = value.status == MERSOLA_INVALID ? kMissingValue : value.value;
    return store.PutDataRelative(number, StatusText(value.status), value.period, value.function,
                                 value.channel, value.band, !batch, next, batch != nullptr, batch);
}

// Writes the values that `at` gives for 0 to `count`, all of them or, for a misuse, none.
template <class At>
void PutAll(mersola_db& db, int64_t count, At at) {
    Store& store = Recording(db);
    int periods = 0;
    for (int64_t i = 0; i < count; ++i) {
        const Value value = at(i);
        if (!value.IsLeftOut()) RequireStorable(value);
        periods = std::max(periods, value.period + 1);
    }
    const auto batch = store.PutDataStart(nullptr);
    Check(db, batch != nullptr, "values cannot be written");
    for (int64_t i = 0; i < count; ++i) {
        const Value value = at(i);
        long next = 0;
        if (!value.IsLeftOut())
            Check(db, Put(store, value, batch, next), "a value lies beyond the last period");
    }
    bool isDuplicate = false;
    try {
        batch->UpdateBatch();
    } catch (const _com_error& error) {
        if (!error.IsDuplicate()) throw;
        isDuplicate = true;
    }
    Check(db, store.PutPeriodsRelative(nullptr, periods), "the periods cannot be counted");
    if (isDuplicate)
        throw Failure{MERSOLA_DUPLICATE, "some values were stored already, and stay as they are"};
}

MarkerInfo Marker(int32_t instrument, int32_t measurement, int32_t id, const char* extType,
                  int64_t start, const char* path, const char* trigger, int32_t function,
                  int32_t band) {
    MarkerInfo marker;
    marker.GroupId = instrument;
    marker.MeasId = measurement;
    marker.MarkerId = id;
    marker.ExtMarkerType = Text(extType, "the extended type");
    marker.Start = RequiredTime(start, "the start").ToText();
    marker.Path = Text(path, "the path");
    marker.TriggerCondition = Text(trigger, "the trigger");
    marker.funcId = function;
    marker.frqId = band;
    return marker;
}

CString Stop(int64_t start, int64_t stop) {
    if (stop < start) Refuse("a marker stops before it starts");
    return RequiredTime(stop, "the stop").ToText();
}

}  // namespace

int32_t mersola_put_instrument(mersola_db* db, const char* name, const char* type, const char* info,
                               int32_t* instrument) {
    return Call(db, [&](mersola_db& open) {
        int32_t& out = Required(instrument, "the place of the identifier");
        InstrumentInfo record;
        record.GroupName = Text(name, "the name");
        record.Type = Text(type, "the type");
        record.Info = Text(info, "the information");
        if (record.GroupName.IsEmpty()) Refuse("an instrument has a name");
        Store& store = Writer(open);
        open.Clear(store);
        Check(open, store.PutInstrument(nullptr, record), "the instrument cannot be registered");
        out = record.GroupId;
    });
}

int32_t mersola_put_state(mersola_db* db, const char* name, const char* state) {
    return Call(db, [&](mersola_db& open) {
        InstrumentInfo record;
        record.GroupName = Text(name, "the name");
        const CString text = Text(state, "the state");
        if (record.GroupName.IsEmpty()) Refuse("an instrument has a name");
        open.RequireWritable();
        Store& store = open.lister;  // registering would close the recording
        open.Clear(store);
        Check(open, store.PutInstrumentState(nullptr, record, text), "the state cannot be stored");
    });
}

int32_t mersola_put_measurement(mersola_db* db, int32_t instrument, const char* name,
                                const char* info, int64_t start, int32_t bandwidth,
                                double lower_frq, double upper_frq, double fullscale,
                                double sensitivity, int32_t* measurement) {
    return Call(db, [&](mersola_db& open) {
        int32_t& out = Required(measurement, "the place of the identifier");
        MeasurementInfo record;
        record.MeasName = Text(name, "the name");
        record.Info = Text(info, "the information");
        record.StartAt = RequiredTime(start, "the start");
        record.BandWidth = bandwidth;
        record.FrqLower = lower_frq;
        record.FrqUpper = upper_frq;
        record.Fullscale = fullscale;
        record.Sensitivity = sensitivity;
        if (record.MeasName.IsEmpty()) Refuse("a measurement has a name");
        for (const double number : {lower_frq, upper_frq, fullscale, sensitivity}) {
            if (!std::isfinite(number)) Refuse("a setting is not finite");
        }
        Check(open, Writer(open).PutMeasurement(nullptr, instrument, record),
              "the recording cannot begin: its start has to lie within ten years of now and not "
              "before that of the measurement, and the bandwidth has to be the same");
        out = record.MeasId;
    });
}

int32_t mersola_put_report(mersola_db* db, int32_t report, int32_t type, int64_t length) {
    return Call(db, [&](mersola_db& open) {
        if (length < 1) Refuse("a period has one millisecond at least");
        ReportInfo record;
        record.ReportId = report;
        record.ReportType = type;
        record.PeriodLen = CTimeSpanEx(length);
        Store& store = Writer(open);
        Check(open, store.PutReport(nullptr, record) && store.IsRecording(),
              "the report cannot be recorded: a measurement has to be registered before, and a "
              "known report has to have the same type and length of periods");
    });
}

int32_t mersola_put_function(mersola_db* db, int32_t function, int32_t channel) {
    return Call(db, [&](mersola_db& open) {
        if (channel < 0) Refuse("a channel is a number from 0");
        Check(open, Recording(open).PutFunction(nullptr, function, channel),
              "the function cannot be registered");
    });
}

int32_t mersola_put_value(mersola_db* db, int64_t period, int32_t function, int32_t channel,
                          int32_t band, double value, uint8_t status) {
    return Call(db, [&](mersola_db& open) {
        Store& store = Recording(open);
        const Value row{Period(period), function, channel, band, value, status};
        RequireStorable(row);
        long next = 0;
        Check(open, Put(store, row, nullptr, next), "the value cannot be written");
        if (next == row.period)
            throw Failure{MERSOLA_DUPLICATE, "a value is stored already, and stays as it is"};
    });
}

int32_t mersola_put_values(mersola_db* db, int64_t count, const int64_t* periods,
                           const int32_t* functions, const int32_t* channels, const int32_t* bands,
                           const double* values, const uint8_t* status) {
    return Call(db, [&](mersola_db& open) {
        if (count < 0) Refuse("the number of values is below 0");
        Required(periods, "the array of periods");
        Required(functions, "the array of functions");
        Required(channels, "the array of channels");
        Required(bands, "the array of bands");
        Required(values, "the array of values");
        PutAll(open, count, [&](int64_t i) {
            return Value{
                Period(periods[i]), functions[i],
                channels[i],        bands[i],
                values[i],          status ? status[i] : static_cast<uint8_t>(MERSOLA_VALID)};
        });
    });
}

int32_t mersola_put_block(mersola_db* db, int32_t function, int32_t channel, int64_t first,
                          int64_t periods, int32_t first_band, int32_t bands, const double* values,
                          const uint8_t* status) {
    return Call(db, [&](mersola_db& open) {
        if (periods < 1 || bands < 1) Refuse("a block has one period and one band at least");
        Required(values, "the array of values");
        Period(Period(first) + int64_t{Period(periods - 1)});
        Narrow(int64_t{first_band} + bands, "the end of the bands");
        PutAll(open, periods * bands, [&](int64_t i) {
            return Value{static_cast<int>(first + i / bands),
                         function,
                         channel,
                         static_cast<int>(first_band + i % bands),
                         values[i],
                         status ? status[i] : static_cast<uint8_t>(MERSOLA_VALID)};
        });
    });
}

int32_t mersola_put_periods(mersola_db* db, int64_t periods) {
    return Call(db, [&](mersola_db& open) {
        Check(open, Recording(open).PutPeriodsRelative(nullptr, Period(periods)),
              "the periods cannot be counted");
    });
}

int32_t mersola_put_marker(mersola_db* db, int32_t instrument, int32_t measurement, int32_t id,
                           int32_t type, const char* ext_type, int64_t start, int64_t stop,
                           const char* path, const char* trigger, int32_t function, int32_t band,
                           int32_t color) {
    return Call(db, [&](mersola_db& open) {
        MarkerInfo marker =
            Marker(instrument, measurement, id, ext_type, start, path, trigger, function, band);
        marker.MarkerType = type;
        marker.Color = color;
        marker.inProgess = stop == MERSOLA_NO_TIME ? 1 : 0;
        marker.Stop = marker.inProgess ? marker.Start : Stop(start, stop);
        open.RequireWritable();
        Check(open, open.fresh.PutMarker(nullptr, marker), "the marker cannot be written");
    });
}

int32_t mersola_close_marker(mersola_db* db, int32_t instrument, int32_t measurement, int32_t id,
                             const char* ext_type, int64_t start, int64_t stop, const char* path,
                             const char* trigger, int32_t function, int32_t band) {
    return Call(db, [&](mersola_db& open) {
        MarkerInfo marker =
            Marker(instrument, measurement, id, ext_type, start, path, trigger, function, band);
        marker.Stop = Stop(start, stop);
        Check(open, Writer(open).UpdateMarkerStop(nullptr, marker), "the marker cannot be closed");
    });
}
