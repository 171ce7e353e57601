// Deleting instruments, measurements, what is old, and values.
#include "handle.h"
#include "times.h"

using namespace mersola;
using namespace mersola::c;

namespace {

struct Caller {
    const char* folder;
    mersola_progress progress;
    void* context;
};

// Runs a deletion of the class with the caller's options.
template <class Delete>
int32_t Deleted(mersola_db* db, const Caller& caller, Delete deletion) {
    return Call(db, [&](mersola_db& open) {
        open.RequireWritable();
        bool isStopped = false;
        DeletionOptions options;
        if (caller.folder) {
            options.recordingFiles = true;
            options.folders = {caller.folder};
        }
        if (caller.progress)
            options.progress = [&](const DeletionProgress& now) {
                isStopped = caller.progress(caller.context, now.periods, now.periodsInAll) != 0;
                return !isStopped;
            };
        if (deletion(open.fresh, options) == 1) return;
        if (isStopped) throw Failure{MERSOLA_STOPPED, "stopped"};
        open.Fail({MERSOLA_FAILED, caller.folder
                                       ? "the deletion did not come to its end; the folder of "
                                         "recording files may not be there"
                                       : "the deletion did not come to its end"});
    });
}

void RequireIdentifier(int32_t id, const char* what) {
    if (id < 0) Refuse(std::string(what) + " is below 0");
}

}  // namespace

int32_t mersola_delete_instrument(mersola_db* db, int32_t instrument, const char* folder,
                                  mersola_progress progress, void* context) {
    return Deleted(db, {folder, progress, context}, [&](Store& store, const auto& options) {
        RequireIdentifier(instrument, "the instrument");
        return store.deleteInstrument(nullptr, instrument, options);
    });
}

int32_t mersola_delete_measurement(mersola_db* db, int32_t instrument, int32_t measurement,
                                   const char* folder, mersola_progress progress, void* context) {
    return Deleted(db, {folder, progress, context}, [&](Store& store, const auto& options) {
        RequireIdentifier(instrument, "the instrument");
        RequireIdentifier(measurement, "the measurement");
        return store.deleteMeasurement(nullptr, instrument, measurement, options);
    });
}

int32_t mersola_delete_old_measurements(mersola_db* db, int32_t instrument, int64_t before,
                                        const char* folder, mersola_progress progress,
                                        void* context) {
    return Deleted(db, {folder, progress, context}, [&](Store& store, const auto& options) {
        const CTimeEx time = RequiredTime(before, "the time");
        if (instrument == kNone) return store.deleteOldMeasurements(nullptr, time, options);
        RequireIdentifier(instrument, "the instrument");
        return store.deleteOldMeasurements(nullptr, instrument, time, options);
    });
}

int32_t mersola_delete_values(mersola_db* db, int32_t instrument, int32_t measurement, int64_t from,
                              int64_t to, int32_t channel, int32_t function,
                              mersola_progress progress, void* context) {
    return Deleted(db, {nullptr, progress, context}, [&](Store& store, const auto& options) {
        RequireIdentifier(instrument, "the instrument");
        RequireIdentifier(measurement, "the measurement");
        return store.deleteValues(nullptr, instrument, measurement, RequiredTime(from, "the start"),
                                  RequiredTime(to, "the end"), channel, function, options);
    });
}
