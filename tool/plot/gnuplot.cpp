// Running gnuplot without a shell, and texts that it leaves as they are.
#include "gnuplot.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <vector>

#include "basics/failure.h"
#include "basics/utf8.h"

namespace mersola::tool {
namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
// A file without a name: unlike with pipes, neither side ever waits for the other.
using Scratch = std::unique_ptr<std::FILE, CloseFile>;

Scratch MakeScratch() {
    Scratch file(std::tmpfile());
    if (!file)
        throw Failure(std::string("no temporary file could be made (") + std::strerror(errno) +
                      "); is the disk full?");
    return file;
}

std::string Contents(std::FILE* file) {
    std::rewind(file);
    std::string contents;
    std::array<char, 65536> block;
    while (const auto count = std::fread(block.data(), 1, block.size(), file))
        contents.append(block.data(), count);
    return contents;
}

// Runs a program; its exit status, -1 when it did not end by itself. An error to start it, as errno
// has it, is given in `error`.
int Run(const std::vector<std::string>& words, std::FILE* in, std::FILE* out, std::FILE* err,
        int& error) {
    std::vector<char*> arguments;
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));  // as POSIX declares it
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t streams;
    posix_spawn_file_actions_init(&streams);
    posix_spawn_file_actions_adddup2(&streams, fileno(in), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&streams, fileno(out), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&streams, fileno(err), STDERR_FILENO);
    pid_t child = 0;
    error = posix_spawnp(&child, arguments[0], &streams, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&streams);
    int status = 0;
    if (error != 0) return -1;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// The last line in which gnuplot says what it did not like, in brackets.
std::string LastLine(std::string_view said) {
    while (!said.empty() && (said.back() == '\n' || said.back() == ' '))
        said.remove_suffix(1);
    said.remove_prefix(said.rfind('\n') + 1);
    said.remove_prefix(std::min(said.find_first_not_of(' '), said.size()));
    return said.empty() ? "" : " (" + Printable(said) + ")";
}

struct Character {
    std::string_view bytes;
    std::uint32_t code;
};

// Takes a character off the text; a question mark for what pictures cannot hold.
Character TakeShown(std::string_view& text) {
    const std::string_view before = text;
    const auto code = TakeCharacter(text);
    const bool isControl = code && (*code < ' ' || (*code >= 0x7F && *code < 0xA0));
    if (!code || isControl || (*code & 0xFFFE) == 0xFFFE) return {"?", '?'};
    return {before.substr(0, before.size() - text.size()), *code};
}

// Whether an installed font has the character; also when that cannot be found out.
bool HasGlyph(std::uint32_t code) {
    // Latin and common signs are everywhere, and asking takes its time.
    if (code < 0x250 || (code >= 0x2000 && code < 0x2300)) return true;
    std::array<char, 8> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), code, 16).ptr;
    const Scratch none = MakeScratch(), out = MakeScratch(), err = MakeScratch();
    int error = 0;
    const int status = Run({"fc-list", ":charset=" + std::string(digits.data(), end), "family"},
                           none.get(), out.get(), err.get(), error);
    return status != 0 || !Contents(out.get()).empty();
}

std::string InQuotes(std::string_view text, char alsoDoubled) {
    std::string quoted = "'";
    for (const char c : text)
        quoted += c == '\'' || c == alsoDoubled ? std::string(2, c) : std::string(1, c);
    return quoted + "'";
}

}  // namespace

std::string RunGnuplot(const std::string& script) {
    const Scratch in = MakeScratch(), out = MakeScratch(), err = MakeScratch();
    if (std::fwrite(script.data(), 1, script.size(), in.get()) != script.size() ||
        std::fflush(in.get()) != 0)
        throw Failure("the drawing could not be prepared; is the disk full?");
    std::rewind(in.get());
    int error = 0;
    // Without the settings of whoever calls, and by a name: it reads standard input byte by byte.
    const int status =
        Run({"gnuplot", "--default-settings", "/dev/stdin"}, in.get(), out.get(), err.get(), error);
    if (error == ENOENT)
        throw Failure("gnuplot, which draws the picture, is not installed; install gnuplot-nox");
    if (error != 0)
        throw Failure(std::string("gnuplot cannot be run (") + std::strerror(error) +
                      "); check how it is installed");
    std::string picture = Contents(out.get());
    if (status != 0 || picture.empty())
        throw Failure("gnuplot did not draw the picture" + LastLine(Contents(err.get())) +
                      "; is its version 5.4 or newer, and is there room on the disk?");
    return picture;
}

std::string WithoutUnknownGlyphs(std::string_view script) {
    std::string shown;
    std::map<std::uint32_t, bool> known;
    while (!script.empty()) {
        if (static_cast<unsigned char>(script[0]) < 0x80) {
            shown += script[0];
            script.remove_prefix(1);
            continue;
        }
        const Character character = TakeShown(script);
        const auto [found, isNew] = known.try_emplace(character.code, false);
        if (isNew) found->second = HasGlyph(character.code);
        shown += found->second ? character.bytes : "?";
    }
    return shown;
}

std::string GnuplotText(std::string_view text, std::size_t width) {
    return InQuotes(Shortened(text, width), '\'');
}

std::string GnuplotTick(std::string_view text, std::size_t width) {
    return InQuotes(Shortened(text, width), '%');
}

std::string Shortened(std::string_view text, std::size_t width) {
    std::string shown;
    std::size_t end = 0;  // of what is shown when there turns out to be more
    for (std::size_t count = 1; !text.empty(); ++count) {
        if (count == std::max<std::size_t>(width, 1)) end = shown.size();
        if (count > width) return shown.substr(0, end) + "\u2026";
        shown += TakeShown(text).bytes;
    }
    return shown;
}

std::vector<std::string> Wrapped(std::string_view text, std::size_t width, std::size_t lines) {
    std::vector<std::string> wrapped;
    while (!text.empty() && wrapped.size() + 1 < lines && CountCharacters(text) > width) {
        std::size_t end = 0, blank = 0;  // of what fits, and of the words that do
        std::string_view rest = text;
        for (std::size_t count = 0; count < width; ++count) {
            TakeCharacter(rest);
            end = text.size() - rest.size();
            if (rest.starts_with(' ')) blank = end;
        }
        if (blank == 0) blank = end;
        wrapped.push_back(Shortened(text.substr(0, blank), width));
        text.remove_prefix(blank);
        text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    }
    if (!text.empty()) wrapped.push_back(Shortened(text, width));
    return wrapped;
}

}  // namespace mersola::tool
