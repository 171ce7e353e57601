// The chain of an instrument's measurements, read as one.
#include <algorithm>
#include <cstdint>

#include <mersola/mersola.h>

#include "session/probes.h"
#include "session/statement.h"

using namespace mersola;

namespace {

using Measurements = CArray<MeasurementInfo, MeasurementInfo&>;
using Functions = CArray<FuncInfo, FuncInfo&>;

// Numbers the periods of every member within the chain, gaps included.
void NumberPeriods(Measurements& chain) {
    for (int member = 0; member < chain.GetSize(); ++member) {
        for (int index = 0; index < chain[member].reports.GetSize(); ++index) {
            ReportInfo& report = chain[member].reports[index];
            report.missingPeriods = report.periodOffset = 0;
            if (member == 0) continue;
            const ReportInfo& previous = chain[member - 1].reports[index];
            const std::int64_t hop =
                (chain[member].StartAt - chain[member - 1].StartAt).GetTotalMilliseconds() /
                report.PeriodLen.GetTotalMilliseconds();
            report.missingPeriods = hop - previous.noOfPeriods;  // negative for an overlap
            report.periodOffset =
                previous.noOfPeriods + report.missingPeriods + previous.periodOffset;
        }
    }
}

std::int32_t LowPart(std::int64_t count) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(count));
}

void AddOnce(Functions& functions, FuncInfo& function) {
    if (std::find(functions.begin(), functions.end(), function) == functions.end())
        functions.Add(function);
}

}  // namespace

bool Mersola::loadContinuousSetupData() {
    if (m_contLoaded) return true;
    if (!readable()) return false;
    m_contMeasurements.RemoveAll();
    m_contReports.RemoveAll();
    Measurements chain;
    if (!readChain(chain) || chain.IsEmpty()) return false;
    for (int member = 1; member < chain.GetSize(); ++member) {
        if (!identicalMeasurements(chain[member], chain[0], nullptr)) return false;
    }
    NumberPeriods(chain);
    CArray<ReportInfo, ReportInfo&> reports = chain[0].reports;
    const Measurements& members = chain;
    for (int index = 0; index < reports.GetSize(); ++index) {
        const ReportInfo& last = members[members.GetUpperBound()].reports[index];
        reports[index].noOfPeriods = LowPart(last.periodOffset + last.noOfPeriods);
        for (const MeasurementInfo& member : members) {
            Functions functions;
            if (!_GetAllFunctions(functions, member.MeasId, member.reports[index].ReportId,
                                  nullptr))
                return false;
            for (FuncInfo& function : functions)
                AddOnce(reports[index].functions, function);
        }
    }
    m_contMeasurements = chain;
    m_contReports = reports;
    m_contMeasurement = chain[0];
    m_contMeasurement.MeasId = kContinuousView;
    m_contMeasurement.MeasName = "Continuous";
    m_contLoaded = true;
    m_contReportIndex = kNone;
    loadSettings(m_contMeasurement);
    return true;
}

bool Mersola::readChain(Measurements& chain) {
    Measurements all;
    if (!_GetMeasurements(all, nullptr)) return false;
    for (MeasurementInfo& measurement : all) {
        CArray<ReportInfo, ReportInfo&> stored;
        if (!_GetReports(stored, measurement.MeasId, nullptr)) return false;
        CArray<ReportInfo, ReportInfo&> reports;
        for (ReportInfo& report : stored) {
            if (report.noOfPeriods <= 0) continue;
            if (report.PeriodLen.GetTotalMilliseconds() <= 0)
                return false;  // the periods of this report have no time
            reports.Add(report);
        }
        measurement.setReports(reports);
        if (!measurement.hasReports) continue;
        if (!measurement.StartAt.IsValid()) return false;  // without a place in the chain
        chain.Add(measurement);
    }
    return true;
}

int Mersola::GetContinuousMeasurements(Measurements& out) {
    out.RemoveAll();
    if (!continuous()) return 0;
    out.Append(m_contMeasurements);
    return 1;
}

bool Mersola::refreshContinuousData() {
    if (!readable()) return false;
    if (m_contMode != kContinuousView) return true;
    auto rows = dbExecute(kMeasurementsProbe);
    rows = dbExecute(formatted("SELECT count(*) FROM Measurements where GroupId=%d", m_GroupId));
    if (!atFirstRow(rows)) return false;
    const int count = rows->Fields(0).Long();
    if (count < 0) return false;
    if (count == 0) return true;
    if (count == m_contMeasurements.GetSize() && hasSameMembers()) return true;
    const int selectedType = m_contReportIndex == kNone ? kNone : m_ReportId;
    // Nothing of the old chain stays selected: its members and positions may be others now.
    m_contMode = kNormalView;
    m_contLoaded = false;
    m_contReportIndex = m_contMeasId = m_MeasId = m_ReportId = m_MeasValueId = kNone;
    if (!loadContinuousSetupData()) return true;
    m_contMode = m_MeasId = kContinuousView;
    if (selectedType != kNone && !SetReport(selectedType)) m_ReportId = kNone;
    return true;
}

// One may have gone and another one come, also under the same identifier.
bool Mersola::hasSameMembers() {
    const auto rows = dbExecute(
        formatted("SELECT MeasId,StartAt FROM Measurements where GroupId=%d ORDER BY StartAt ASC",
                  m_GroupId));
    for (; !rows->EndOfFile(); rows->MoveNext()) {
        const int measId = rows->Fields(0).Long();
        CTimeEx start;
        if (!CTimeEx::FromText(rows->Fields(1).Text(), start)) return false;
        const bool isMember = std::ranges::any_of(m_contMeasurements, [&](const auto& member) {
            return member.MeasId == measId && member.StartAt.ToText() == start.ToText();
        });
        if (!isMember) return false;
    }
    return true;
}

int Mersola::recalculateContPeriods() {
    if (!readable() || m_contReportIndex == kNone || m_contMeasurements.IsEmpty()) return 0;
    MeasurementInfo& last = m_contMeasurements[m_contMeasurements.GetUpperBound()];
    ReportInfo& report = last.reports[m_contReportIndex];
    const auto rows = dbExecute(
        formatted("SELECT noOfPeriods from Reports WHERE GroupId=%d AND ReportId=%d AND MeasId=%d",
                  m_GroupId, report.ReportId, last.MeasId));
    if (atFirstRow(rows)) {
        const std::int32_t stored = rows->Fields("noOfPeriods").Long();
        ReportInfo& whole = m_contReports[m_contReportIndex];
        whole.noOfPeriods = LowPart(std::int64_t{whole.noOfPeriods} + stored - report.noOfPeriods);
        report.noOfPeriods = stored;
        m_noOfPeriods = whole.noOfPeriods;
    }
    return m_noOfPeriods;
}
