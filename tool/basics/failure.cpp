// Texts for people, and output that did not arrive.
#include "failure.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <iostream>

#include "utf8.h"

namespace mersola::tool {

std::string Printable(std::string_view text) {
    std::string shown;
    while (!text.empty()) {
        const std::string_view before = text;
        const auto code = TakeCharacter(text);
        if (code && *code >= ' ' && *code != 0x7F)
            shown += before.substr(0, before.size() - text.size());
        else
            shown += '?';
    }
    return shown;
}

std::string Excerpt(std::string_view text, std::size_t most) {
    if (text.size() <= most) return std::string(text);
    while (most > 0 && ContinuesCharacter(text[most]))
        --most;  // a character stays whole
    return std::string(text.substr(0, most)) + "\u2026";
}

std::string Quoted(std::string_view text) {
    return "'" + Printable(text) + "'";
}

std::string ShellWord(std::string_view text) {
    constexpr std::string_view plain =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-./:,+@%";
    if (!text.empty() && text.find_first_not_of(plain) == text.npos) return std::string(text);
    const bool isPrintable = Printable(text) == text;
    std::string word = isPrintable ? "'" : "$'";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (isPrintable) {
            word += c == '\'' ? "'\\''" : std::string(1, c);
        } else if (byte < ' ' || byte > '~' || c == '\'' || c == '\\') {
            word += '\\';
            for (const int shift : {6, 3, 0})
                word += static_cast<char>('0' + (byte >> shift & 7));
        } else {
            word += c;
        }
    }
    return word + "'";
}

void RequireWritten(std::ostream& out) {
    if (out) return;
    pollfd output{STDOUT_FILENO, POLLOUT, 0};
    if (&out == &std::cout && poll(&output, 1, 0) == 1 && (output.revents & POLLERR) != 0)
        throw Failure("", 128 + SIGPIPE);
    throw Failure("the output could not be written; is the disk full, or its reader gone?");
}

void TellDone(std::ostream& out, const std::string& lines) {
    out << lines << std::flush;
    if (out) return;
    std::string line = lines.substr(0, lines.find_last_not_of('\n') + 1);
    std::ranges::replace(line, '\n', ' ');
    throw Failure("the output could not be written, but the work is done: " + line, 0);
}

}  // namespace mersola::tool
