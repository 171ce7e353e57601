// Where progress and fault messages end.
#include "trace.h"

#include <cstdarg>

#include <mersola/mersola.h>

#include "log.h"

namespace mersola {

void TraceText([[maybe_unused]] CString text) {
    if constexpr (kTracing) {
        text.TrimRight();
        WriteLogLine(text.View());
    }
}

}  // namespace mersola

void Mersola::Test([[maybe_unused]] const char* format, ...) const {
    if constexpr (mersola::kTracing) {
        std::va_list arguments;
        va_start(arguments, format);
        CString text;
        text.FormatV(format, arguments);
        va_end(arguments);
        mersola::TraceText(text);
    }
}
