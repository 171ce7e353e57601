// The error formatter.
#include "db_error.h"

#include "statement.h"
#include "trace.h"

namespace mersola {

CString dbErrorText(const _com_error& error) {
    const CString message =
        error.Description().IsEmpty() ? error.ErrorMessage() : error.Description();
    return formatted("DB Error:\tCode = %08lx (%s)\tSource = %s\tDescription = %s\n",
                     static_cast<unsigned long>(static_cast<std::uint32_t>(error.Error())),
                     message.GetString(), error.Source().GetString(),
                     error.Description().GetString());
}

void formatDbError(const _com_error& error) {
    SetErrorInfo(std::make_shared<ErrorInfo>(ErrorInfo{error.Source(), error.Description()}));
    TraceText(dbErrorText(error));
}

}  // namespace mersola
