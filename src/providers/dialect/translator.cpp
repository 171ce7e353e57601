// The translator makes one pass over the tokens. It looks ahead where a construct may have to be
// left out.
#include "translator.h"

#include <array>
#include <charconv>
#include <initializer_list>
#include <system_error>

namespace mersola::dialect {
namespace {

constexpr std::string_view kObjectProperty = "OBJECTPROPERTY";

bool IsName(const Token& token) {
    return token.kind == TokenKind::Word || token.kind == TokenKind::QuotedName;
}

bool IsOwner(const Token& token) {
    if (token.kind == TokenKind::Word) return Matches(token.text, "DBO");
    return token.kind == TokenKind::QuotedName && Matches(token.Body(), "DBO");
}

bool IsLiteral(TokenKind kind) {
    return kind == TokenKind::Integer || kind == TokenKind::Real || kind == TokenKind::Text;
}

bool IsWord(const Token& token, std::string_view upper) {
    return token.kind == TokenKind::Word && Matches(token.text, upper);
}

// A name as the engine folds one that stands without quotes: the letters of ASCII alone.
std::string Folded(std::string_view name) {
    std::string folded(name);
    for (char& c : folded) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c | 0x20);
    }
    return folded;
}

// The next token behind an owner's name, if there is one; `owned` tells whether there was. Every
// look ahead reads through here too, so that it judges what the output will hold.
Token Read(Lexer& lexer, bool afterDot, bool& owned) {
    Token token = lexer.Next();
    owned = false;
    if (afterDot) return token;
    while (IsOwner(token)) {
        Lexer ahead = lexer;
        if (!ahead.Next().Is('.')) break;
        Token name = ahead.Next();
        if (!IsName(name)) break;
        name.apart = token.apart;
        token = name;
        lexer = ahead;
        owned = true;
    }
    return token;
}

Token Read(Lexer& lexer) {
    bool owned;
    return Read(lexer, false, owned);
}

// Reads to the end of the parentheses that are open.
bool SkipParentheses(Lexer& lexer) {
    for (std::size_t depth = 1; depth > 0;) {
        const Token token = Read(lexer);
        if (token.kind == TokenKind::End) return false;
        if (token.Is('(')) ++depth;
        if (token.Is(')')) --depth;
    }
    return true;
}

// Whether `ahead`, which stands behind SET, goes on with a transaction's isolation level and
// nothing else.
bool IsIsolationLevel(Lexer ahead) {
    for (const std::string_view word : {"TRANSACTION", "ISOLATION", "LEVEL"}) {
        if (!IsWord(Read(ahead), word)) return false;
    }
    const Token level = Read(ahead);
    if (IsWord(level, "READ")) {
        const Token which = Read(ahead);
        if (!IsWord(which, "COMMITTED") && !IsWord(which, "UNCOMMITTED")) return false;
    } else if (IsWord(level, "REPEATABLE")) {
        if (!IsWord(Read(ahead), "READ")) return false;
    } else if (!IsWord(level, "SNAPSHOT") && !IsWord(level, "SERIALIZABLE")) {
        return false;
    }
    const Token end = Read(ahead);
    return end.kind == TokenKind::End || end.Is(';');
}

// The last part of a name of several parts, and the quote that closes it, if it is quoted.
struct NamePart {
    std::string_view body;
    char quote = '\0';
};

NamePart LastPart(std::string_view name) {
    for (;;) {
        NamePart part;
        std::size_t end = 0;
        if (!name.empty() && (name.front() == '[' || name.front() == '"')) {
            part.quote = name.front() == '[' ? ']' : '"';
            for (end = 1; end < name.size(); ++end) {
                if (name[end] != part.quote) continue;
                if (end + 1 == name.size() || name[end + 1] != part.quote) break;
                ++end;
            }
            part.body = name.substr(1, end - 1);
        }
        end = name.find('.', end);
        if (!part.quote) part.body = name.substr(0, end);
        if (end == std::string_view::npos) return part;
        name.remove_prefix(end + 1);
    }
}

template <typename Number>
bool Parse(std::string_view text, Number& value) {
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && stop == end;
}

}  // namespace

Translation Translator::Translate(std::string_view sql, Literals mode) {
    const Lexer start(sql);
    // Literals are views into this buffer, so it must not move. No token is unescaped more than
    // twice.
    unescaped_.reserve(2 * sql.size());
    if (mode == Literals::Lifted) {
        const auto fits = [&](const Shape& shape) { return TakeLiterals(shape, start); };
        if (const Shape* shape = memory_.Find(fits)) return {shape->text, literals_, false, true};
    }
    ClearLiterals();
    memory_.Begin(sql);
    lexer_ = start;
    places_.Reset();
    output_.Reset();
    previous_ = Trace();
    liftable_ = mode == Literals::Lifted;
    dropped_ = owned_ = trigger_ = body_ = false;

    Token first = Next();
    while (first.Is(';'))
        first = Next();
    if (first.kind == TokenKind::End) throw SyntaxError("no statement", 0);
    const bool noOperation = IsWord(first, "SET") && IsIsolationLevel(lexer_);
    Begin(first);
    Put(first);
    const std::string_view top = TakeTop();
    for (;;) {
        const Token token = Next();
        if (token.kind == TokenKind::End) break;
        Put(token);
    }
    if (!top.empty()) {
        output_.Append(idiom_.limit, true);
        output_.Append(top, true);
    }
    const std::string_view text = output_.Finish();
    if (liftable_) memory_.Commit(text);
    return {text, literals_, noOperation, isQuery_};
}

// Whether `lexer` reads the text that `shape` holds. If it does, the literals are those that it
// met.
bool Translator::TakeLiterals(const Shape& shape, Lexer lexer) {
    ClearLiterals();
    std::size_t from = 0;
    for (const std::size_t end : shape.ends) {
        if (from > 0) {
            const Token token = lexer.Next();
            if (token.apart || !IsLiteral(token.kind) || !Lift(token, true)) return false;
        }
        if (!lexer.Skip(std::string_view(shape.stretches).substr(from, end - from))) return false;
        from = end;
    }
    return lexer.AtEnd();
}

void Translator::ClearLiterals() {
    literals_.clear();
    unescaped_.clear();
}

// Finds out what kind of statement it is.
void Translator::Begin(const Token& first) {
    isQuery_ = true;
    switch (first.kind == TokenKind::Word ? KeywordOf(first.text) : Keyword::None) {
        case Keyword::Select:
        case Keyword::Insert:
        case Keyword::Update:
        case Keyword::Delete:
        case Keyword::Replace:
        case Keyword::Values:
        case Keyword::With:
            return;
        case Keyword::Create: {
            Lexer ahead = lexer_;
            Token object = Read(ahead);
            if (IsWord(object, "TEMP") || IsWord(object, "TEMPORARY")) object = Read(ahead);
            trigger_ = IsWord(object, "TRIGGER");
            break;
        }
        default:
            break;
    }
    isQuery_ = liftable_ = false;
}

Token Translator::Next() {
    Token token = Read(lexer_, previous_.symbol == '.', owned_);
    token.apart |= dropped_;
    dropped_ = false;
    return token;
}

void Translator::Put(const Token& token) {
    Keyword keyword = Keyword::None;
    switch (token.kind) {
        case TokenKind::Word:
            if (previous_.symbol != '.') keyword = KeywordOf(token.text);
            if (PutWord(token, keyword)) return;
            break;
        case TokenKind::QuotedName:
            PutName(token);
            if (IsOwner(token)) keyword = Keyword::Owner;
            break;
        case TokenKind::Integer:
        case TokenKind::Real:
        case TokenKind::Text:
            PutLiteral(token);
            break;
        case TokenKind::Symbol:
            if (PutSymbol(token)) return;
            break;
        default:
            output_.Copy(token);
    }
    Passed(token, keyword);
}

void Translator::Passed(const Token& token, Keyword keyword) {
    previous_.kind = token.kind;
    previous_.symbol = token.kind == TokenKind::Symbol ? token.text.front() : '\0';
    previous_.keyword = keyword;
}

bool Translator::PutWord(const Token& token, Keyword keyword) {
    switch (keyword) {
        case Keyword::None:
        case Keyword::Owner:
            PutName(token);
            return false;
        case Keyword::With:
            if (SkipHints()) return true;
            break;
        case Keyword::ObjectId:
            memory_.Abandon();  // its argument decides how it is translated
            if (PutObjectId(token)) return true;
            break;
        case Keyword::ObjectProperty:
            memory_.Abandon();
            output_.Append(token.text, token.apart);
            return false;
        case Keyword::Like:
            if (idiom_.like.empty()) break;
            output_.Append(idiom_.like, token.apart);
            return false;
        case Keyword::Begin:
            if (trigger_) body_ = true;
            trigger_ = false;
            break;
        case Keyword::End:
            if (previous_.symbol == ';') body_ = false;
            break;
        default:
            break;
    }
    places_.Word(keyword, previous_.keyword);
    output_.Copy(token);
    return false;
}

void Translator::PutName(const Token& token) {
    if (owned_ && PutSysobjects(token)) return;
    const char opening = token.text.front();
    const bool isQuoted = token.kind == TokenKind::QuotedName;
    if (opening == '[' || opening == '`' || (isQuoted && idiom_.foldsNames)) {
        const std::string_view name = Unescaped(token.Body(), token.text.back());
        output_.AppendQuoted(idiom_.foldsNames ? Folded(name) : name, '"', token.apart);
    } else {
        output_.Copy(token);
    }
}

bool Translator::PutSymbol(const Token& token) {
    const char symbol = token.text.front();
    if (symbol == ';' && !body_) {
        EndStatement();
        return true;
    }
    if (symbol == ',' && places_.Mark() && PutUserTableTest()) return true;
    places_.Symbol(symbol, previous_.keyword);
    if (symbol == '(' && previous_.keyword == Keyword::ObjectProperty && !places_.InForeignHint())
        places_.SetMark(output_.Size());
    output_.Copy(token);
    return false;
}

void Translator::PutLiteral(const Token& token) {
    if (Lifts() && previous_.symbol != '.' && previous_.keyword != Keyword::Collate &&
        previous_.keyword != Keyword::In && Lift(token, previous_.symbol == '-')) {
        memory_.Lift(token);
        PutParameter(token.apart);
    } else if (token.kind == TokenKind::Text && token.text.front() != '\'') {
        output_.Append(token.text.substr(1), token.apart);
    } else if (token.kind == TokenKind::Text && previous_.kind == TokenKind::Word) {
        output_.Append(token.text, true);  // the word is no prefix of the literal
    } else {
        output_.Copy(token);
    }
    if (previous_.keyword == Keyword::Like && !idiom_.like.empty() &&
        token.kind == TokenKind::Text) {
        Lexer ahead = lexer_;
        output_.Append(idiom_.pattern, true);
        if (!IsWord(Read(ahead), "ESCAPE")) output_.Append(idiom_.noEscape, true);
    }
}

void Translator::PutParameter(bool apart) {
    if (!idiom_.numbersParameters) return output_.Append("?", apart);
    std::array<char, 8> mark{'$'};
    const auto end = std::to_chars(mark.begin() + 1, mark.end(), literals_.size()).ptr;
    output_.Append({mark.data(), static_cast<std::size_t>(end - mark.data())}, apart);
}

bool Translator::Lifts() const {
    return liftable_ && literals_.size() < kMostLifted && places_.Lifts();
}

// Takes the token's value, if a parameter can carry it as the engine would read it. An integer that
// is too large is a real, except where its negative may still be an integer.
bool Translator::Lift(const Token& token, bool maybeNegative) {
    Literal literal;
    if (token.kind == TokenKind::Text) {
        literal.kind = Literal::Kind::Text;
        literal.text = token.doubled ? Unescaped(token.Body(), '\'') : token.Body();
    } else if (token.kind == TokenKind::Real || !Parse(token.text, literal.integer)) {
        if (token.kind == TokenKind::Integer && maybeNegative) return false;
        literal.kind = Literal::Kind::Real;
        if (!Parse(token.text, literal.real)) return false;
    }
    literals_.push_back(literal);
    return true;
}

// The body of a literal or quoted name with its doubled quotes made single.
std::string_view Translator::Unescaped(std::string_view body, char quote) {
    if (body.find(quote) == std::string_view::npos) return body;
    const std::size_t start = unescaped_.size();
    for (std::size_t i = 0; i < body.size(); ++i) {
        unescaped_ += body[i];
        if (body[i] == quote) ++i;
    }
    return std::string_view(unescaped_).substr(start);
}

// Reads over the list of table hints behind a WITH that follows a table. The list stays where its
// absence would complete something else that is to be translated.
bool Translator::SkipHints() {
    const bool behindName =
        previous_.kind == TokenKind::Word || previous_.kind == TokenKind::QuotedName;
    if (!behindName || previous_.keyword == Keyword::Owner || previous_.keyword == Keyword::With ||
        previous_.keyword == Keyword::ObjectId || previous_.keyword == Keyword::ObjectProperty ||
        places_.InForeignHint())
        return false;
    Lexer ahead = lexer_;
    if (!Read(ahead).Is('(')) return false;
    for (bool any = false;;) {
        const Token token = Read(ahead);
        if (token.kind == TokenKind::Word && KeywordOf(token.text) == Keyword::Hint) {
            any = true;
        } else if (!any) {
            return false;
        } else if (token.Is(')')) {
            lexer_ = ahead;
            dropped_ = true;
            return true;
        } else if (token.Is('(')) {
            if (!SkipParentheses(ahead)) return false;
        } else if (!token.Is(',') && !token.Is('=')) {
            return false;
        }
    }
}

// Reads over the TOP behind the SELECT at the beginning, and gives its number.
std::string_view Translator::TakeTop() {
    if (idiom_.limit.empty() || previous_.keyword != Keyword::Select) return {};
    Lexer ahead = lexer_;
    if (!IsWord(Read(ahead), "TOP")) return {};
    Token number = Read(ahead);
    const bool isEnclosed = number.Is('(');
    if (isEnclosed) number = Read(ahead);
    if (number.kind != TokenKind::Integer || (isEnclosed && !Read(ahead).Is(')'))) return {};
    lexer_ = ahead;
    dropped_ = true;
    return number.text;
}

// Writes a query for the server's catalogue of objects.
bool Translator::PutSysobjects(const Token& token) {
    const bool quoted = token.kind == TokenKind::QuotedName;
    if (!Matches(quoted ? token.Body() : token.text, "SYSOBJECTS")) return false;
    Lexer ahead = lexer_;
    const Token next = Read(ahead);
    if (next.Is('.') || places_.InForeignHint()) return false;
    memory_.Abandon();
    output_.Append(idiom_.sysobjects, token.apart);
    const Keyword keyword = next.kind == TokenKind::Word ? KeywordOf(next.text) : Keyword::None;
    const bool aliased = keyword == Keyword::As || next.kind == TokenKind::Text ||
                         (IsName(next) && keyword == Keyword::None);
    if (!aliased) output_.Append("AS sysobjects", true);
    return true;
}

// OBJECT_ID of a name becomes a look into the catalogue, which gives null for an unknown one.
bool Translator::PutObjectId(const Token& token) {
    Lexer ahead = lexer_;
    const Token opening = Read(ahead);
    const Token text = Read(ahead);
    const Token closing = Read(ahead);
    if (!opening.Is('(') || text.kind != TokenKind::Text || !closing.Is(')') ||
        places_.InForeignHint())
        return false;
    const NamePart part = LastPart(Unescaped(text.Body(), '\''));
    const std::string_view name = part.quote ? Unescaped(part.body, part.quote) : part.body;
    output_.Append(idiom_.objectIdHead, token.apart);
    output_.AppendQuoted(name, '\'', true);
    output_.Append(idiom_.objectIdTail, false);
    lexer_ = ahead;
    Passed(closing, Keyword::None);
    return true;
}

// Called at the comma of OBJECTPROPERTY(expression, N'IsUserTable'). It makes a test of whether the
// expression is a user's table.
bool Translator::PutUserTableTest() {
    Lexer ahead = lexer_;
    const Token text = Read(ahead);
    const Token closing = Read(ahead);
    if (text.kind != TokenKind::Text || !Matches(text.Body(), "ISUSERTABLE") || !closing.Is(')'))
        return false;
    output_.Append(idiom_.userTables, false);
    output_.Replace(places_.Mark() - kObjectProperty.size(), kObjectProperty.size(),
                    idiom_.userTableHead);
    lexer_ = ahead;
    places_.Symbol(')', Keyword::None);
    Passed(closing, Keyword::None);
    return true;
}

// Ends the statement. Nothing may follow the semicolon.
void Translator::EndStatement() {
    for (Token token = Next(); token.kind != TokenKind::End; token = Next()) {
        if (!token.Is(';')) throw SyntaxError("a second statement", lexer_.PositionOf(token));
    }
}

}  // namespace mersola::dialect
