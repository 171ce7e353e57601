// AfxMessageBox: a word to whoever watches the program, through a handler that it can replace.
#pragma once

#include <functional>

#include <mersola/platform/export.h>

/// The only type of message, one with nothing but an OK button.
inline constexpr unsigned MB_OK = 0;
/// The answer of a message box whose OK button was pressed.
inline constexpr int IDOK = 1;

/// Hands `text` to the handler and returns IDOK. Without a handler the text goes to standard error
/// as one line; nobody is waited for. Any thread may call it.
MERSOLA_EXPORT int AfxMessageBox(const char* text, unsigned type = MB_OK, unsigned help = 0);

namespace mersola {

/// Gets the text and the type of a message. It runs on the thread that has the message, possibly on
/// several at a time; what it raises reaches the caller of AfxMessageBox.
using MessageBoxHandler = std::function<void(const char* text, unsigned type)>;

/// Replaces the handler; an empty one brings the default back. Returns the previous handler, empty
/// if it was the default.
MERSOLA_EXPORT MessageBoxHandler SetMessageBoxHandler(MessageBoxHandler handler);

}  // namespace mersola
