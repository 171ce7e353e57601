// The lexer: cuts a statement text into tokens. It knows quotes, numbers and comments, but no
// grammar, and it never looks inside a literal.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string_view>

namespace mersola::dialect {

// A text that must not reach the engine. `position` is the byte where the trouble starts.
struct SyntaxError : std::runtime_error {
    SyntaxError(const char* message, std::size_t at) : std::runtime_error(message), position(at) {}

    std::size_t position;
};

enum class TokenKind : std::uint8_t {
    Word,        // a keyword or a bare name; bytes from 0x80 on count as letters
    QuotedName,  // [name], "name" or `name`
    Integer,     // 42
    Real,        // 4.2, 4., .2, 4e2
    Text,        // 'text' or N'text'
    Opaque,      // x'0A', 0x0A, and what only looks like a number (4abc): for the engine to judge
    Symbol,      // one punctuation character
    End,
};

// Whether a word can go on with this character.
bool IsWordCharacter(char c);

struct Token {
    TokenKind kind = TokenKind::End;
    bool apart = false;     // blanks or comments stand before it
    bool doubled = false;   // a closing quote occurs inside, written twice
    std::string_view text;  // as written, quotes and prefix included

    bool Is(char symbol) const { return kind == TokenKind::Symbol && text.front() == symbol; }

    // What stands between the quotes of a Text or a QuotedName, doubled quotes still doubled.
    std::string_view Body() const;
};

// Copying a lexer is cheap: a look ahead reads from a copy.
class Lexer {
  public:
    // `sql` must outlive the lexer and its tokens. Raises SyntaxError for a NUL byte, behind
    // which an engine would not look.
    explicit Lexer(std::string_view sql);

    // The next token; at the end of the text End, again and again. Raises SyntaxError for a
    // literal, quoted name or comment that is not closed and for a parameter marker.
    Token Next();

    // Reads over `stretch`, if the text goes on with exactly that.
    bool Skip(std::string_view stretch) {
        if (!std::string_view(at_, static_cast<std::size_t>(end_ - at_)).starts_with(stretch))
            return false;
        at_ += stretch.size();
        return true;
    }

    bool AtEnd() const { return at_ == end_; }

    std::size_t PositionOf(const Token& token) const {
        return static_cast<std::size_t>(token.text.data() - begin_);
    }

  private:
    bool SkipBlanks();
    void SkipComment();
    TokenKind ScanNumber();
    bool ScanQuoted(const char* opening, char closing);
    [[noreturn]] void Refuse(const char* message, const char* at) const;

    const char* begin_;
    const char* at_;
    const char* end_;
};

}  // namespace mersola::dialect
