// The translator turns a T-SQL statement text into one that an engine with another language
// understands, and takes the literals out of it, so that statements of one shape share one prepared
// statement.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "idiom.h"
#include "keywords.h"
#include "lexer.h"
#include "places.h"
#include "shape_memory.h"
#include "statement_text.h"

namespace mersola::dialect {

struct Literal {
    enum class Kind : std::uint8_t { Integer, Real, Text };

    Kind kind = Kind::Integer;
    std::int64_t integer = 0;
    double real = 0;
    std::string_view text;
};

enum class Literals : std::uint8_t { Lifted, InPlace };

struct Translation {
    std::string_view text;              // the statement for the engine
    std::span<const Literal> literals;  // the values of the text's parameters, in their order
    bool noOperation = false;           // the statement is accepted, and there is nothing to run
    bool isQuery = false;               // it reads or writes rows and does nothing else
};

// Translates in one pass, or in less for a shape that it has met lately. It keeps its buffers, so
// that a translator that has seen a few statements allocates nothing any more. One translator
// serves one thread at a time.
class Translator {
  public:
    // This is less than the number of parameters that every build of SQLite allows.
    static constexpr std::size_t kMostLifted = 900;

    explicit Translator(const Idiom& idiom = kSqliteIdiom) : idiom_(idiom) {}
    Translator(const Translator&) = delete;
    Translator& operator=(const Translator&) = delete;

    // Translates one statement. The result is valid until the next call and may refer to `sql`,
    // which must not be the text of an earlier result of the same translator. Raises SyntaxError
    // where the lexer does, for a text without a statement, and for one with a second statement.
    // After that the translator is fit for the next call.
    //
    // Literals are lifted from SELECT, INSERT, UPDATE, DELETE, REPLACE, VALUES and WITH, where
    // Places allows it. Questions to the catalogue become plain SQL in either mode.
    Translation Translate(std::string_view sql, Literals mode);

  private:
    // What the translator remembers of a token.
    struct Trace {
        TokenKind kind = TokenKind::End;
        Keyword keyword = Keyword::None;
        char symbol = '\0';
    };

    bool TakeLiterals(const Shape& shape, Lexer lexer);
    void ClearLiterals();
    void Begin(const Token& first);
    Token Next();
    void Put(const Token& token);
    void Passed(const Token& token, Keyword keyword);

    // Whether the token was written together with the tokens that follow it.
    bool PutWord(const Token& token, Keyword keyword);
    bool PutSymbol(const Token& token);

    void PutName(const Token& token);
    void PutLiteral(const Token& token);
    void PutParameter(bool apart);
    bool Lifts() const;
    bool Lift(const Token& token, bool maybeNegative);
    std::string_view Unescaped(std::string_view body, char quote);

    bool SkipHints();
    std::string_view TakeTop();
    bool PutSysobjects(const Token& token);
    bool PutObjectId(const Token& token);
    bool PutUserTableTest();
    void EndStatement();

    const Idiom& idiom_;
    Lexer lexer_{std::string_view()};
    Places places_;
    StatementText output_;
    ShapeMemory memory_;
    std::vector<Literal> literals_;
    std::string unescaped_;  // texts of literals that differ from their source

    Trace previous_;
    bool isQuery_ = false;
    bool liftable_ = false;  // the literals of this statement may be lifted
    bool dropped_ = false;   // tokens in front of the next one were left out
    bool owned_ = false;     // the current token followed the owner's name
    bool trigger_ = false;   // the statement is a CREATE TRIGGER, and its body has not begun
    bool body_ = false;      // inside the trigger's body, which holds statements
};

}  // namespace mersola::dialect
