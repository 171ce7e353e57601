// The functions measured in a report, and the names of functions and bands.
#include <mersola/mersola.h>

#include "session/statement.h"

using namespace mersola;

int Mersola::GetFunctions(CArray<int, int>& out) {
    if (!readable()) return 0;
    return _GetFunctions(out, kSelected, kSelected, m_connection);
}

int Mersola::_GetFunctions(CArray<int, int>& out, int measId, int reportId,
                           const _ConnectionPtr& connection) {
    out.RemoveAll();
    if (measId == kSelected) measId = m_MeasId;
    if (reportId == kSelected) reportId = m_ReportId;
    if (m_contMode == kContinuousView && m_contReportIndex != kNone) {
        for (const FuncInfo& function : m_contReports[m_contReportIndex].functions) {
            if (m_channel != 0) out.Add(function.FuncId);  // of any channel: callers rely on it
        }
        return 1;
    }
    try {
        const auto rows =
            dbExecute(connection, formatted("SELECT * FROM MeasuredFunctions where ReportId=%d and "
                                            "MeasId=%d and GroupId=%d and Channel=%d",
                                            reportId, measId, m_GroupId, m_channel));
        if (!rows) return 0;
        for (; !rows->EndOfFile(); rows->MoveNext())
            out.Add(rows->Fields("FuncId").Long());
        return 1;
    } catch (const _com_error&) {
        return 0;
    }
}

int Mersola::_GetAllFunctions(CArray<int, int>& out, int measId, int reportId,
                              const _ConnectionPtr& connection) {
    CArray<FuncInfo, FuncInfo&> functions;
    const int result = _GetAllFunctions(functions, measId, reportId, connection);
    out.RemoveAll();
    for (const FuncInfo& function : functions)
        out.Add(function.FuncId);
    return result;
}

int Mersola::_GetAllFunctions(CArray<FuncInfo, FuncInfo&>& out, int measId, int reportId,
                              const _ConnectionPtr& connection) {
    out.RemoveAll();
    if (measId == kSelected) measId = m_MeasId;
    if (reportId == kSelected) reportId = m_ReportId;
    try {
        const auto rows = dbExecute(
            connection,
            formatted(
                "SELECT * FROM MeasuredFunctions where ReportId=%d and MeasId=%d and GroupId=%d",
                reportId, measId, m_GroupId));
        if (!rows) return 0;
        for (; !rows->EndOfFile(); rows->MoveNext()) {
            FuncInfo function;
            function.FuncId = rows->Fields("FuncId").Long();
            function.Channel = rows->Fields("Channel").Long();
            out.Add(function);
        }
        return 1;
    } catch (const _com_error&) {
        return 0;
    }
}

CString Mersola::GetFunctionName(long funcId) {
    const auto id = identifier(funcId);
    if (!id) return CString();
    try {
        const auto rows =
            dbExecute(formatted("SELECT FuncName FROM FuncNameMap where FuncId=%d", *id));
        return atFirstRow(rows) ? rows->Fields("FuncName").Text() : CString();
    } catch (const _com_error&) {
        return CString();
    }
}

CString Mersola::GetFrqName(long frqId) {
    const auto id = identifier(frqId);
    if (!id) return CString();
    try {
        const auto rows =
            dbExecute(formatted("SELECT FrqName FROM FrqNameMap where FrqId=%d", *id));
        // The result has no such field, so bands have no names here. Callers rely on that.
        return atFirstRow(rows) ? rows->Fields("FuncName").Text() : CString();
    } catch (const _com_error&) {
        return CString();
    }
}
