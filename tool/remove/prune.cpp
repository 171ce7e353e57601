// mersola prune: what is old goes.
#include <ostream>

#include "basics/failure.h"
#include "basics/times_text.h"
#include "catalogue/catalogue.h"
#include "database/open_database.h"
#include "removal.h"

namespace mersola::tool {

void Prune(const PruneOptions& options, std::ostream& out, std::ostream* terminal) {
    const CTimeEx now = CTimeEx::GetCurrentTime();
    const CTimeEx before = options.before ? *options.before : now - *options.keep;
    if (!options.isForced && (before - now).GetTotalMilliseconds() > 0)
        throw Failure("--before: " + TimeText(before) +
                          " lies in the future, so that all but what is being recorded would go; "
                          "add --force where that is meant",
                      2);
    Removal removal(options, out, terminal);
    Mersola& store = removal.Store();
    const std::int32_t group =
        options.instrument.empty() ? kNone : ChooseInstrument(store, options.instrument);
    CArray<OldMeasurement, OldMeasurement&> old;
    if (store.GetOldMeasurements(nullptr, group, before, old) != 1)
        throw Failure("what is old could not be read" + WhyUnread(store));
    const auto run = [&] {
        removal.Run([&](const DeletionOptions& how) {
            return group == kNone ? store.deleteOldMeasurements(nullptr, before, how)
                                  : store.deleteOldMeasurements(nullptr, group, before, how);
        });
    };
    if (old.IsEmpty()) {
        // The room of what is gone may be left from a call that was stopped.
        if (!options.isDryRun) run();
        TellDone(out, "Nothing in " + removal.Name() + " ended before " + TimeText(before) + ".\n");
        return;
    }
    out << "What ended before " << TimeText(before) << " goes from " << removal.Name() << ":\n";
    const Room room(store);
    for (const OldMeasurement& each : old) {
        Going going{.measurements = each.isWhole ? 1 : 0};
        for (const OldPeriods& periods : each.periods) {
            going.periods += periods.end - periods.first;
            going.amount += room.Of({periods.measValueId, periods.first, periods.end});
        }
        removal.AddMarkers(each.groupId, each.measId, each.isWhole ? nullptr : &before, going);
        removal.Show(each.groupId, each.measId, going);
    }
    if (!removal.IsWanted()) return;
    run();
    removal.Tell();
}

}  // namespace mersola::tool
