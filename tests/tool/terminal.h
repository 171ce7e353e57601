// What asks somebody, on a terminal of its own.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <string>

namespace mersola::tool {

struct Typed {
    int status = -1;
    std::string screen;
    bool echoesAgain = false;
};

/// Does the work in a process and types once `prompt` is shown.
inline Typed TypedOn(const std::string& prompt, const std::string& typed, auto work) {
    Typed result;
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) _exit(work());
    char c = 0;
    while (!result.screen.ends_with(prompt) && read(terminal, &c, 1) == 1)
        result.screen += c;
    EXPECT_EQ(write(terminal, typed.data(), typed.size()), std::ssize(typed));
    int status = 0;
    // Kept open until then: a terminal that is gone has no settings to ask for.
    const int held = open(ptsname(terminal), O_RDWR | O_NOCTTY);
    waitpid(child, &status, 0);
    termios settings{};
    result.echoesAgain = tcgetattr(terminal, &settings) == 0 && (settings.c_lflag & ECHO) != 0;
    close(held);
    while (read(terminal, &c, 1) == 1)
        result.screen += c;
    close(terminal);
    if (WIFEXITED(status)) result.status = WEXITSTATUS(status);
    return result;
}

/// Whether this system gives terminals (/dev/pts).
inline bool HasTerminals() {
    int ends[2];
    if (openpty(&ends[0], &ends[1], nullptr, nullptr, nullptr) != 0) return false;
    close(ends[0]), close(ends[1]);
    return true;
}

}  // namespace mersola::tool
