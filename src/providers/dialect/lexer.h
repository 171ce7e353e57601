// The lexer cuts a statement text into tokens. It knows quotes, numbers and comments, but no
// grammar, and it never looks inside a literal.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string_view>

namespace mersola::dialect {

// Raised for a text that must not reach the engine. `position` is the byte at which the error
// begins.
struct SyntaxError : std::runtime_error {
    SyntaxError(const char* message, std::size_t at) : std::runtime_error(message), position(at) {}

    std::size_t position;
};

enum class TokenKind : std::uint8_t {
    Word,        // a keyword or a bare name; bytes from 0x80 on are letters
    QuotedName,  // [name], "name" or `name`
    Integer,     // 42
    Real,        // 4.2, 4., .2, 4e2
    Text,        // 'text' or N'text'
    Opaque,      // x'0A', 0x0A, and 4abc, which only looks like a number: the engine judges them
    Symbol,      // one punctuation character
    End,
};

// Whether this character can stand inside a word.
bool IsWordCharacter(char c);

struct Token {
    TokenKind kind = TokenKind::End;
    bool apart = false;     // blanks or comments stand before it
    bool doubled = false;   // a closing quote occurs inside, written twice
    std::string_view text;  // the token as it is written, with its quotes and prefix

    bool Is(char symbol) const { return kind == TokenKind::Symbol && text.front() == symbol; }

    // The text between the quotes of a Text or a QuotedName. Doubled quotes are still doubled.
    std::string_view Body() const;
};

// A lexer is cheap to copy: a look ahead reads from a copy.
class Lexer {
  public:
    // `sql` must outlive the lexer and its tokens. Raises SyntaxError for a NUL byte, because an
    // engine would not look behind it.
    explicit Lexer(std::string_view sql);

    // The next token; at the end of the text it is always End. Raises SyntaxError for a literal, a
    // quoted name or a comment that is not closed, and for a parameter marker.
    Token Next();

    // Reads over `stretch` if the text goes on with exactly these bytes.
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
