// The sinks of the messages that tell what an operation does. They are silent by default and stay
// in the code as a description of each step; a build with MERSOLA_TRACE writes them to the log.
#pragma once

#include <mersola/platform/text.h>

namespace mersola {

/// Takes one finished text.
void TraceText(CString text);

#ifdef MERSOLA_TRACE
inline constexpr bool kTracing = true;
#else
inline constexpr bool kTracing = false;
#endif

}  // namespace mersola
