// The text of a statement while it is put together from pieces of its source.
#include "statement_text.h"

namespace mersola::dialect {
namespace {

// Two quotes would read as one inside a name or literal, and `?1` as a numbered parameter.
bool RunTogether(char last, char next) {
    if (IsWordCharacter(next)) return last == '?' || IsWordCharacter(last);
    return last == next && (next == '\'' || next == '"');
}

}  // namespace

void StatementText::Reset() {
    text_.clear();
    begin_ = end_ = nullptr;
}

void StatementText::Append(std::string_view piece, bool apart) {
    Flush();
    Separate(apart, piece.front());
    text_ += piece;
}

void StatementText::AppendQuoted(std::string_view body, char quote, bool apart) {
    Flush();
    Separate(apart, quote);
    text_ += quote;
    for (char c : body) {
        if (c == quote) text_ += quote;
        text_ += c;
    }
    text_ += quote;
}

std::size_t StatementText::Size() {
    Flush();
    return text_.size();
}

void StatementText::Replace(std::size_t at, std::size_t length, std::string_view piece) {
    Flush();
    text_.replace(at, length, piece);
}

std::string_view StatementText::Finish() {
    Flush();
    return text_;
}

void StatementText::StartStretch(const Token& token) {
    Flush();
    Separate(token.apart, token.text.front());
    begin_ = token.text.data();
    end_ = begin_ + token.text.size();
}

void StatementText::Flush() {
    if (begin_ == end_) return;
    text_.append(begin_, end_);
    begin_ = end_;
}

void StatementText::Separate(bool apart, char next) {
    if (!text_.empty() && (apart || RunTogether(text_.back(), next))) text_ += ' ';
}

}  // namespace mersola::dialect
