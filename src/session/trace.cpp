// Where progress and fault messages end.
#include "trace.h"

#include <atomic>
#include <cstdarg>

#include <mersola/mersola.h>

#include "log.h"

namespace mersola {
namespace {

constinit std::atomic<TraceSink> theSink = MERSOLA_TRACE ? WriteLogLine : nullptr;

void TraceV(const char* format, std::va_list arguments) {
    if (!IsTracing()) return;
    CString text;
    text.FormatV(format, arguments);
    TraceText(text);
}

}  // namespace

TraceSink SetTraceSink(TraceSink sink) noexcept {
    return theSink.exchange(sink);
}

bool IsTracing() noexcept {
    return theSink.load(std::memory_order_relaxed) != nullptr;
}

void TraceText(CString text) {
    const TraceSink sink = theSink;
    if (!sink) return;
    text.TrimRight();
    sink(text.View());
}

bool fault(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    TraceV(format, arguments);
    va_end(arguments);
    return false;
}

}  // namespace mersola

void Mersola::Test(const char* format, ...) const {
    std::va_list arguments;
    va_start(arguments, format);
    mersola::TraceV(format, arguments);
    va_end(arguments);
}
