// AfxMessageBox shows a message to whoever watches the program, through a handler that the program
// can replace.
#pragma once

#include <functional>

#include <mersola/platform/export.h>

/// The only type of message: one that has an OK button and nothing else.
inline constexpr unsigned MB_OK = 0;
/// The answer of a message box whose OK button was pressed.
inline constexpr int IDOK = 1;

/// Hands `text` to the handler and returns IDOK. Without a handler, the text goes to standard error
/// as one line. It never waits for anybody. Any thread may call it.
MERSOLA_EXPORT int AfxMessageBox(const char* text, unsigned type = MB_OK, unsigned help = 0);

namespace mersola {

/// A handler takes the text and the type of a message. It runs on the thread that shows the
/// message, and may run on several threads at a time. The caller of AfxMessageBox gets what it
/// raises.
using MessageBoxHandler = std::function<void(const char* text, unsigned type)>;

/// Replaces the handler; an empty one brings the default back. Returns the previous handler, which
/// is empty if it was the default.
MERSOLA_EXPORT MessageBoxHandler SetMessageBoxHandler(MessageBoxHandler handler);

}  // namespace mersola
