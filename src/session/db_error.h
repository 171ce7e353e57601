// Database errors as texts.
#pragma once

#include <mersola/platform/com_error.h>

namespace mersola {

/// The line "DB Error: ..." with code, message, source and description.
CString dbErrorText(const _com_error& error);

/// Makes the error's source and description the thread's error information.
void formatDbError(const _com_error& error);

}  // namespace mersola
