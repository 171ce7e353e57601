// The selection of instrument, measurement, channel and function, and what was loaded with it.
#include <mersola/mersola.h>

#include "catalogue/columns.h"
#include "session/statement.h"

using namespace mersola;

int Mersola::SetInstrument(long groupId) {
    const auto id = identifier(groupId);
    if (!id) return 0;
    if (*id == m_GroupId) return 1;
    m_GroupId = *id;
    m_contMode = kNormalView;
    m_contLoaded = false;
    m_ReportId = kNone;
    m_MeasId = kNone;
    m_contMeasId = kNone;
    return 1;
}

int Mersola::SetMeasurement(long measId) {
    const auto id = identifier(measId);
    if (!readable() || !id) return 0;
    if (*id == m_MeasId) return 1;
    m_ReportId = kNone;
    m_contMeasId = kNone;
    m_contMode = kNormalView;
    try {
        if (*id == kContinuousView) {
            if (!loadContinuousSetupData()) return 0;
            loadSettings(m_contMeasurement);
            m_contReportIndex = kNone;
            m_contMode = kContinuousView;
            m_MeasId = kContinuousView;
            return 1;
        }
        m_MeasId = *id;
        const auto rows = dbExecute(formatted(
            "SELECT * FROM Measurements where MeasId=%d and GroupId=%d", m_MeasId, m_GroupId));
        if (!atFirstRow(rows)) return 0;
        MeasurementInfo rec;
        readMeasurement(*rows, rec);
        loadSettings(rec);
        return 1;
    } catch (const _com_error&) {
        return 0;
    }
}

int Mersola::SetChannel(long channel) {
    const auto id = identifier(channel);
    if (!id) return 0;
    m_channel = *id;
    return 1;
}

int Mersola::SetFunction(long funcId) {
    const auto id = identifier(funcId);
    if (!id) return 0;
    m_function = *id;
    return 1;
}

int Mersola::GetFullscale(float& v) const {
    v = static_cast<float>(m_fullscale);
    return 1;
}

int Mersola::GetSensitivity(float& v) const {
    v = static_cast<float>(m_sensitivity);
    return 1;
}

int Mersola::GetLowerFrq(float& v) const {
    v = static_cast<float>(m_lowerFrq);
    return 1;
}

int Mersola::GetUpperFrq(float& v) const {
    v = static_cast<float>(m_upperFrq);
    return 1;
}

int Mersola::GetBandwidth(int& v) const {
    v = m_bandwidth;
    return 1;
}

int Mersola::GetReportType(int& v) const {
    v = m_reportType;
    return 1;
}

int Mersola::GetTrigTime(CTimeEx& t) const {
    t = m_StartAt;
    return 1;
}

int Mersola::GetPrdLength(CTimeSpanEx& s) const {
    s = m_prdLength;
    return 1;
}

int Mersola::GetRealPrdLength(CTimeSpanEx& s) const {
    s = m_realPrdLengthSet ? m_realPrdLength : m_prdLength;
    return 1;
}
