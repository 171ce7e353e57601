// The lexer: one table of character classes and a scanner for each class.
#include "lexer.h"

#include <array>
#include <cstring>

namespace mersola::dialect {
namespace {

// A word goes on with any class from kDollar on.
enum Class : std::uint8_t { kOther, kBlank, kMarker, kQuote, kDollar, kDigit, kLetter };

constexpr std::array<Class, 256> kClasses = [] {
    std::array<Class, 256> classes{};
    for (unsigned c = 0; c < 256; ++c) {
        if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c >= 0x80)
            classes[c] = kLetter;
        else if (c >= '0' && c <= '9')
            classes[c] = kDigit;
    }
    const auto set = [&](std::string_view characters, Class their) {
        for (const char c : characters)
            classes[static_cast<unsigned char>(c)] = their;
    };
    set(" \t\n\v\f\r", kBlank);
    set("?:@#", kMarker);
    set("'\"`[", kQuote);
    set("$", kDollar);
    return classes;
}();

Class ClassOf(char c) {
    return kClasses[static_cast<unsigned char>(c)];
}

}  // namespace

bool IsWordCharacter(char c) {
    return ClassOf(c) >= kDollar;
}

namespace {

const char* SkipWord(const char* at, const char* end) {
    while (at != end && IsWordCharacter(*at))
        ++at;
    return at;
}

const char* SkipDigits(const char* at, const char* end) {
    while (at != end && ClassOf(*at) == kDigit)
        ++at;
    return at;
}

}  // namespace

std::string_view Token::Body() const {
    const std::size_t opening = kind == TokenKind::Text && text.front() != '\'' ? 2 : 1;
    return text.substr(opening, text.size() - opening - 1);
}

Lexer::Lexer(std::string_view sql) : begin_(sql.data()), at_(begin_), end_(begin_ + sql.size()) {
    if (sql.empty()) return;
    if (const void* nul = std::memchr(begin_, '\0', sql.size()))
        Refuse("a NUL byte in the statement", static_cast<const char*>(nul));
}

Token Lexer::Next() {
    Token token;
    token.apart = SkipBlanks();
    const char* const start = at_;
    if (start == end_) {
        token.text = {start, 0};
        return token;
    }
    ++at_;
    switch (ClassOf(*start)) {
        case kLetter:
            at_ = SkipWord(at_, end_);
            token.kind = TokenKind::Word;
            if (at_ - start == 1 && at_ != end_ && *at_ == '\'') {
                const char prefix = static_cast<char>(*start | 0x20);
                if (prefix == 'n' || prefix == 'x') {
                    ++at_;
                    token.doubled = ScanQuoted(start, '\'');
                    token.kind = prefix == 'n' ? TokenKind::Text : TokenKind::Opaque;
                }
            }
            break;
        case kDigit:
            --at_;
            token.kind = ScanNumber();
            break;
        case kQuote:
            token.doubled = ScanQuoted(start, *start == '[' ? ']' : *start);
            token.kind = *start == '\'' ? TokenKind::Text : TokenKind::QuotedName;
            break;
        case kDollar:
        case kMarker:
            Refuse("a parameter marker in the statement", start);
        default:
            token.kind = TokenKind::Symbol;
            if (*start == '.' && at_ != end_ && ClassOf(*at_) == kDigit) {
                --at_;
                token.kind = ScanNumber();
            }
    }
    token.text = {start, static_cast<std::size_t>(at_ - start)};
    return token;
}

bool Lexer::SkipBlanks() {
    const char* const start = at_;
    for (;;) {
        while (at_ != end_ && ClassOf(*at_) == kBlank)
            ++at_;
        if (end_ - at_ < 2 || (*at_ != '-' && *at_ != '/')) break;
        if (at_[0] == '-' && at_[1] == '-') {
            while (at_ != end_ && *at_ != '\n')
                ++at_;
        } else if (at_[0] == '/' && at_[1] == '*') {
            SkipComment();
        } else {
            break;
        }
    }
    return at_ != start;
}

// Comments nest, as the server reads them; SQLite would end them at the first end.
void Lexer::SkipComment() {
    const char* const start = at_;
    std::size_t depth = 0;
    for (; end_ - at_ > 1; ++at_) {
        if (at_[0] == '/' && at_[1] == '*') {
            ++depth;
            ++at_;
        } else if (at_[0] == '*' && at_[1] == '/') {
            ++at_;
            if (--depth == 0) {
                ++at_;
                return;
            }
        }
    }
    Refuse("a comment is not closed", start);
}

TokenKind Lexer::ScanNumber() {
    TokenKind kind = TokenKind::Integer;
    const char* at = SkipDigits(at_, end_);
    if (at != end_ && *at == '.') {
        at = SkipDigits(at + 1, end_);
        kind = TokenKind::Real;
    }
    if (at != end_ && (*at | 0x20) == 'e') {
        const char* exponent = at + 1;
        if (exponent != end_ && (*exponent == '+' || *exponent == '-')) ++exponent;
        if (exponent != end_ && ClassOf(*exponent) == kDigit) {
            at = SkipDigits(exponent, end_);
            kind = TokenKind::Real;
        }
    }
    at_ = SkipWord(at, end_);
    return at_ == at ? kind : TokenKind::Opaque;
}

// Reads to the closing quote. Returns whether a doubled one stands inside.
bool Lexer::ScanQuoted(const char* opening, char closing) {
    const char* at = at_;
    for (bool doubled = false;; doubled = true, ++at) {
        while (at != end_ && *at != closing)
            ++at;
        if (at == end_) Refuse("a literal or quoted name is not closed", opening);
        if (++at == end_ || *at != closing) {
            at_ = at;
            return doubled;
        }
    }
}

void Lexer::Refuse(const char* message, const char* at) const {
    throw SyntaxError(message, static_cast<std::size_t>(at - begin_));
}

}  // namespace mersola::dialect
