// The messages that tell what an operation does. They stay in the code as a description of each
// step, and go nowhere unless somebody sets a sink; a build with MERSOLA_TRACE starts with the log
// as sink.
#pragma once

#include <string_view>

#include <mersola/platform/text.h>

namespace mersola {

/// Takes each message, without the line feed at its end.
using TraceSink = void (*)(std::string_view message);

/// Sets where the messages of all objects go from now on, null for nowhere; returns what was set.
TraceSink SetTraceSink(TraceSink sink) noexcept;

/// Whether messages go anywhere.
bool IsTracing() noexcept;

/// Takes one finished text.
void TraceText(CString text);

/// Tells, in printf's manner, why an operation fails, and returns the false that it returns.
bool fault(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace mersola
