// Messages about what an operation does. They describe each step in the code, and go nowhere unless
// a sink is set. A build with MERSOLA_TRACE starts with the log as its sink.
#pragma once

#include <string_view>

#include <mersola/platform/text.h>

namespace mersola {

/// A sink takes each message, without the line feed at its end.
using TraceSink = void (*)(std::string_view message);

/// Sets the sink for the messages of all objects from now on; null means none. Returns the earlier
/// sink.
TraceSink SetTraceSink(TraceSink sink) noexcept;

/// Whether messages go anywhere.
bool IsTracing() noexcept;

/// Hands one finished text to the sink.
void TraceText(CString text);

/// Tells in printf's manner why an operation fails, and returns false, which the operation hands
/// on.
bool fault(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace mersola
