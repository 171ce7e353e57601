// The message box without a screen: a handler, or one line on standard error.
#include <mersola/platform/message_box.h>

#include <cstdio>
#include <mutex>
#include <string>
#include <utility>

#include "held_messages.h"

namespace {

std::mutex handlerMutex;
thread_local mersola::HeldMessages* holder = nullptr;

mersola::MessageBoxHandler& Handler() {
    // The handler is never destroyed: there may be messages while the program ends.
    static auto& handler = *new mersola::MessageBoxHandler;
    return handler;
}

void WriteLine(std::string line) {
    for (char& c : line) {
        if (c == '\n' || c == '\r') {
            c = ' ';
        }
    }
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace

int AfxMessageBox(const char* text, unsigned type, [[maybe_unused]] unsigned help) {
    text = text ? text : "";
    if (holder) {
        holder->last = text;
        return IDOK;
    }
    // The handler runs outside the lock, so that it may have a message of its own.
    auto handler = [] {
        const std::lock_guard lock(handlerMutex);
        return Handler();
    }();
    if (handler) {
        handler(text, type);
    } else {
        WriteLine(text);
    }
    return IDOK;
}

mersola::MessageBoxHandler mersola::SetMessageBoxHandler(MessageBoxHandler handler) {
    const std::lock_guard lock(handlerMutex);
    return std::exchange(Handler(), std::move(handler));
}

mersola::HeldMessages::HeldMessages() : before_(std::exchange(holder, this)) {}

mersola::HeldMessages::~HeldMessages() {
    holder = before_;
}
