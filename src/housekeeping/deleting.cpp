// The operations that delete.
#include <mersola/mersola.h>

#include "deletion.h"
#include "session/log.h"
#include "session/statement.h"

using namespace mersola;

namespace {

// The line that the log gets when a deletion is over.
void Log(const CString& what, const char* how) {
    WriteLogLine((what + how).View());
}

std::string Told(const DeletionProgress& progress) {
    const auto number = [](std::int64_t value) { return std::to_string(value); };
    return number(progress.periods) + " periods, " + number(progress.measurements) +
           " measurements, " + number(progress.markers) + " markers, " + number(progress.files) +
           " recording files (" + number(progress.filesLeft) + " stay)";
}

}  // namespace

int Mersola::runDeletion(const _ConnectionPtr& connection, const DeletionOptions& options,
                         const CString& what, const std::function<void(Deletion&)>& work) {
    if (!resolved(connection)) {
        Test("***Invalid connection in %s\n", what.GetString());
        return 0;
    }
    m_firstPrdValid = false;
    Log(">>>" + what, "");
    try {
        Deletion deletion(resolved(connection), options);
        try {
            work(deletion);
            deletion.GiveBackRoom();
        } catch (const Stopped&) {
            Log(">>>" + what, (": stopped after " + Told(deletion.Progress())).c_str());
            return 0;
        }
        Log(">>>" + what, (": done, " + Told(deletion.Progress())).c_str());
        return 1;
    } catch (const _com_error& error) {
        Test("***Exception in %s\n", what.GetString());
        Log("***" + what, (std::string(": ") + error.what()).c_str());
        return 0;
    }
}

int Mersola::deleteInstrument(const _ConnectionPtr& connection, long groupId,
                              const DeletionOptions& options) {
    const auto group = identifier(groupId);
    if (!group || *group < 0) return 0;
    return runDeletion(connection, options, formatted("deleteInstrument GroupId=%d", *group),
                       [&](Deletion& deletion) { deletion.DeleteInstrument(*group); });
}

int Mersola::deleteMeasurement(const _ConnectionPtr& connection, long groupId, long measId,
                               const DeletionOptions& options) {
    const auto group = identifier(groupId);
    const auto measurement = identifier(measId);
    if (!group || !measurement || *group < 0 || *measurement < 0) return 0;
    return runDeletion(
        connection, options,
        formatted("deleteMeasurement GroupId=%d MeasId=%d", *group, *measurement),
        [&](Deletion& deletion) { deletion.DeleteMeasurement(*group, *measurement); });
}

int Mersola::deleteOldMeasurements(const _ConnectionPtr& connection, const CTimeEx& before,
                                   const DeletionOptions& options) {
    if (!before.IsValid()) return 0;
    return runDeletion(connection, options, "deleteOldMeasurements before " + before.ToText(),
                       [&](Deletion& deletion) { deletion.DeleteOld(std::nullopt, before); });
}

int Mersola::deleteOldMeasurements(const _ConnectionPtr& connection, long groupId,
                                   const CTimeEx& before, const DeletionOptions& options) {
    const auto group = identifier(groupId);
    if (!group || *group < 0 || !before.IsValid()) return 0;
    return runDeletion(
        connection, options,
        formatted("deleteOldMeasurements GroupId=%d before ", *group) + before.ToText(),
        [&](Deletion& deletion) { deletion.DeleteOld(*group, before); });
}

int Mersola::GetOldMeasurements(const _ConnectionPtr& connection, long groupId,
                                const CTimeEx& before,
                                CArray<OldMeasurement, OldMeasurement&>& out) {
    out.RemoveAll();
    const auto group = identifier(groupId);
    if (!resolved(connection) || !group || *group < kSelected || !before.IsValid()) return 0;
    try {
        const auto run = [&](const CString& sql) { return dbExecute(connection, sql); };
        for (OldMeasurement& old :
             OldMeasurements(run, *group < 0 ? std::nullopt : group, before)) {
            std::erase_if(old.periods,
                          [](const OldPeriods& periods) { return periods.first == periods.end; });
            if (old.isWhole || old.markers > 0 || !old.periods.empty()) out.Add(old);
        }
        return 1;
    } catch (const _com_error&) {
        out.RemoveAll();
        return 0;
    }
}

int Mersola::deleteValues(const _ConnectionPtr& connection, long groupId, long measId,
                          const CTimeEx& from, const CTimeEx& to, long channel, long funcId,
                          const DeletionOptions& options) {
    const auto group = identifier(groupId);
    const auto measurement = identifier(measId);
    const auto ofChannel = identifier(channel);
    const auto ofFunction = identifier(funcId);
    if (!group || !measurement || *group < 0 || *measurement < 0 || !ofChannel || !ofFunction ||
        !from.IsValid() || !to.IsValid())
        return 0;
    CString condition;
    if (*ofChannel != kSelected) condition += formatted(" AND Channel=%d", *ofChannel);
    if (*ofFunction != kSelected) condition += formatted(" AND FuncId=%d", *ofFunction);
    return runDeletion(connection, options,
                       formatted("deleteValues GroupId=%d MeasId=%d from ", *group, *measurement) +
                           from.ToText() + " to " + to.ToText() + condition,
                       [&](Deletion& deletion) {
                           deletion.DeleteValues(*group, *measurement, from, to, condition);
                       });
}
