// The statement runner, through which every statement of the library goes.
#include "statement.h"

#include <cstdarg>
#include <ctime>

#include "ado/block_reader.h"
#include "log.h"
#include "trace.h"

namespace mersola {
namespace {

void TraceTime(const char* behind, const char* text) {
    if (!IsTracing()) return;
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char time[128];
    if (std::strftime(time, sizeof time, "%A, %B %d, %Y, %H:%M:%S", &local) == 0) time[0] = '\0';
    TraceText(formatted("%s%s%s", time, behind, text));
}

}  // namespace

CString quoteText(const char* text) {
    return CString("'") + text + "'";
}

CString formatted(const char* format, ...) {
    CString text;
    std::va_list arguments;
    va_start(arguments, format);
    text.FormatV(format, arguments);
    va_end(arguments);
    return text;
}

_RecordsetPtr runStatement(const _ConnectionPtr& connection, const CString& sql, bool logged) {
    if (logged) WriteLogLine(sql.View());
    _RecordsetPtr rows = _Recordset::CreateInstance();
    if (!rows) throw _com_error(E_FAIL, "No recordset can be made");
    rows->PutCursorLocation(adUseClient);
    rows->PutCursorType(adOpenKeyset);
    rows->PutLockType(adLockBatchOptimistic);
    TraceTime("-->\t", sql.GetString());
    rows->Open(sql, connection, adOpenKeyset, adLockOptimistic, adCmdText);
    TraceTime("\n", "");
    return rows;
}

ado::BlockReader readStatement(const _ConnectionPtr& connection, const CString& sql) {
    TraceTime("-->\t", sql.GetString());
    ado::BlockReader rows(connection, sql.View());
    TraceTime("\n", "");
    return rows;
}

bool atFirstRow(const _RecordsetPtr& rows) {
    if (!rows || rows->EndOfFile()) return false;
    rows->MoveFirst();
    return !rows->EndOfFile();
}

}  // namespace mersola
