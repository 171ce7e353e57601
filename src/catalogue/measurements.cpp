// The catalogue of measurements, and the settings that one of them has.
#include <mersola/mersola.h>

#include "columns.h"
#include "session/statement.h"

using namespace mersola;

long Mersola::locateMeasurementId(long groupId, CString name) {
    const auto group = identifier(groupId);
    if (!m_connection || !group) return kNone;
    try {
        const auto rows =
            dbExecute(formatted("SELECT * FROM Measurements where MeasName=%s and GroupId=%d",
                                quoteText(name).GetString(), *group));
        return atFirstRow(rows) ? rows->Fields("MeasId").Long() : kNone;
    } catch (const _com_error&) {
        return kNone;
    }
}

int Mersola::GetMeasurements(CArray<MeasurementInfo, MeasurementInfo&>& out) {
    return _GetMeasurements(out, nullptr);
}

int Mersola::_GetMeasurements(CArray<MeasurementInfo, MeasurementInfo&>& out,
                              const _ConnectionPtr& connection) {
    out.RemoveAll();
    try {
        const auto rows =
            dbExecute(connection,
                      formatted("SELECT * FROM Measurements where GroupId=%d ORDER BY StartAt ASC",
                                m_GroupId));
        if (!rows) return 0;
        for (; !rows->EndOfFile(); rows->MoveNext()) {
            MeasurementInfo rec;
            readMeasurement(*rows, rec);
            out.Add(rec);
        }
        return 1;
    } catch (const _com_error&) {
        return 0;
    }
}

int Mersola::_GetMeasurement(int measId, MeasurementInfo& rec, const _ConnectionPtr& connection) {
    try {
        const auto rows = dbExecute(
            connection, formatted("SELECT * FROM Measurements where GroupId=%d AND MeasId=%d",
                                  m_GroupId, measId));
        if (!atFirstRow(rows)) return 0;
        readMeasurement(*rows, rec);
        return 1;
    } catch (const _com_error&) {
        return 0;
    }
}

void Mersola::loadSettings(const MeasurementInfo& measurement) {
    m_fullscale = measurement.Fullscale;
    m_sensitivity = measurement.Sensitivity;
    m_lowerFrq = measurement.FrqLower;
    m_upperFrq = measurement.FrqUpper;
    m_bandwidth = measurement.BandWidth;
    m_StartAt = measurement.StartAt;
}
