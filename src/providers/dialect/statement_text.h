// Puts a statement's text together from pieces of its source.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "lexer.h"

namespace mersola::dialect {

// The text of a statement while it is put together. Blanks and comments of the source become one
// blank, wherever there were any. One blank is added where two pieces would otherwise run into each
// other. The buffer is kept from statement to statement.
class StatementText {
  public:
    void Reset();

    // Appends a token as it was written. Tokens that are neighbours in the source are copied as one
    // stretch.
    void Copy(const Token& token) {
        const char* const start = token.text.data();
        if (begin_ == end_ || (start != end_ && (start != end_ + 1 || *end_ != ' ')))
            StartStretch(token);
        else
            end_ = start + token.text.size();
    }

    void Append(std::string_view piece, bool apart);
    void AppendQuoted(std::string_view body, char quote, bool apart);

    // These are for the rare change of text that was written already.
    std::size_t Size();
    void Replace(std::size_t at, std::size_t length, std::string_view piece);

    // The finished text. It is valid until the next change.
    std::string_view Finish();

  private:
    void StartStretch(const Token& token);
    void Flush();
    void Separate(bool apart, char next);

    std::string text_;
    const char* begin_ = nullptr;  // the stretch of source that is still to be copied
    const char* end_ = nullptr;
};

}  // namespace mersola::dialect
