// A reader of a few words of SQL. What it does not understand is another statement.
#include "value_statement.h"

#include <algorithm>
#include <limits>

#include "dialect/keywords.h"
#include "dialect/lexer.h"

namespace mersola::sqlite {
namespace {

using Kind = ValueStatement::Kind;

class Reader {
  public:
    explicit Reader(std::string_view text) : text_(text) {}

    /// Reads over the word, in any case, if it is the next one.
    bool Word(std::string_view upper) {
        const std::string_view word = Ahead();
        if (!dialect::Matches(word, upper)) return false;
        at_ += word.size();
        return true;
    }
    bool Words(std::initializer_list<std::string_view> uppers) {
        return std::ranges::all_of(uppers, [this](std::string_view upper) { return Word(upper); });
    }
    bool Symbol(char symbol) {
        SkipBlanks();
        if (at_ == text_.size() || text_[at_] != symbol) return false;
        ++at_;
        return true;
    }
    bool AtEnd() {
        SkipBlanks();
        return at_ == text_.size();
    }
    std::optional<packed::Column> Column() {
        constexpr std::array<std::string_view, packed::kColumns> kNames{
            "MEASVALUEID", "PERIODNO", "CHANNEL", "FUNCID", "FRQID", "VALUE", "STATUS"};
        for (std::size_t i = 0; i < kNames.size(); ++i) {
            if (Word(kNames[i])) return static_cast<packed::Column>(i);
        }
        return std::nullopt;
    }
    /// Reads a literal's place, which may stand behind a minus.
    bool Literal(ValueStatement::Place& place) {
        place.isNegative = Symbol('-');
        return Symbol('?');
    }
    std::string_view From(std::size_t start) const { return text_.substr(start, at_ - start); }
    std::size_t Position() {
        SkipBlanks();
        return at_;
    }

  private:
    void SkipBlanks() {
        while (at_ < text_.size() && text_[at_] == ' ')
            ++at_;
    }
    std::string_view Ahead() {
        SkipBlanks();
        std::size_t end = at_;
        while (end < text_.size() && dialect::IsWordCharacter(text_[end]))
            ++end;
        return text_.substr(at_, end - at_);
    }

    std::string_view text_;
    std::size_t at_ = 0;
};

bool ReadConditions(Reader& reader, std::vector<ValueStatement::Place>& places) {
    if (!reader.Word("WHERE")) return false;
    do {
        const auto column = reader.Column();
        if (!column || *column >= packed::kKeyColumns) return false;
        ValueStatement::Place place{*column, '=', false};
        if (reader.Symbol('<')) {
            place.comparison = reader.Symbol('=') ? 'l' : '<';
        } else if (reader.Symbol('>')) {
            place.comparison = reader.Symbol('=') ? 'g' : '>';
        } else if (!reader.Symbol('=')) {
            return false;
        }
        if (!reader.Literal(place)) return false;
        places.push_back(place);
    } while (reader.Word("AND"));
    return true;
}

bool ReadInsert(Reader& reader, std::vector<ValueStatement::Place>& places) {
    if (!reader.Symbol('(')) return false;
    unsigned named = 0;
    do {
        const auto column = reader.Column();
        if (!column) return false;
        named |= 1U << *column;
        places.push_back({*column, '=', false});
    } while (reader.Symbol(','));
    if (places.size() != packed::kColumns || named != (1U << packed::kColumns) - 1) return false;
    if (!reader.Symbol(')') || !reader.Word("VALUES") || !reader.Symbol('(')) return false;
    for (auto& place : places) {
        if (&place != &places.front() && !reader.Symbol(',')) return false;
        if (!reader.Literal(place)) return false;
    }
    return reader.Symbol(')');
}

// Fills in what kind of statement it is, up to its end.
bool Read(Reader& reader, ValueStatement& statement) {
    if (reader.Word("INSERT")) {
        statement.kind = Kind::Insert;
        return reader.Words({"INTO", "MEASUREDVALUES"}) && ReadInsert(reader, statement.places);
    }
    if (reader.Word("DELETE")) {
        statement.kind = Kind::Delete;
        return reader.Words({"FROM", "MEASUREDVALUES"}) && ReadConditions(reader, statement.places);
    }
    if (!reader.Word("SELECT")) return false;
    const std::size_t start = reader.Position();
    if (reader.Symbol('*')) {
        statement.kind = Kind::Select;
    } else if (reader.Word("DISTINCT")) {
        statement.kind = Kind::Bands;
        const std::size_t column = reader.Position();
        if (!reader.Word("FRQID")) return false;
        statement.expression = reader.From(column);
    } else {
        statement.kind = reader.Word("MIN") ? Kind::First : Kind::Last;
        if (statement.kind == Kind::Last && !reader.Word("MAX")) return false;
        if (!reader.Symbol('(') || !reader.Word("PERIODNO") || !reader.Symbol(')')) return false;
        statement.expression = reader.From(start);
    }
    if (!reader.Words({"FROM", "MEASUREDVALUES"}) || !ReadConditions(reader, statement.places))
        return false;
    if (statement.kind == Kind::Select && reader.Word("ORDER")) {
        statement.isOrdered = true;
        return reader.Words({"BY", "PERIODNO"}) && reader.Symbol(',') && reader.Word("FRQID");
    }
    return true;
}

std::optional<std::int64_t> IntegerOf(const ValueStatement::Place& place,
                                      const dialect::Literal& literal) {
    constexpr std::int64_t kMost = std::int64_t{1} << 40;  // far beyond all keys
    if (literal.kind != dialect::Literal::Kind::Integer || literal.integer > kMost)
        return std::nullopt;
    return place.isNegative ? -literal.integer : literal.integer;
}

}  // namespace

ValueStatement Recognise(std::string_view text) {
    Reader reader(text);
    ValueStatement statement;
    if (!Read(reader, statement) || !reader.AtEnd()) return {};
    return statement;
}

std::optional<packed::ValueRow> ValueStatement::Row(
    std::span<const dialect::Literal> literals) const {
    using Is = dialect::Literal::Kind;
    packed::ValueRow row;
    std::array<std::int32_t, packed::kKeyColumns> key{};
    if (literals.size() != places.size()) return std::nullopt;
    for (std::size_t i = 0; i < places.size(); ++i) {
        const Place& place = places[i];
        const dialect::Literal& literal = literals[i];
        if (place.column < packed::kKeyColumns) {
            const auto number = IntegerOf(place, literal);
            if (!number || *number != static_cast<std::int32_t>(*number)) return std::nullopt;
            key[static_cast<std::size_t>(place.column)] = static_cast<std::int32_t>(*number);
        } else if (place.column == packed::kValue) {
            if (literal.kind == Is::Text) return std::nullopt;
            const double number =
                literal.kind == Is::Real ? literal.real : static_cast<double>(literal.integer);
            row.value = place.isNegative ? 0.0 - number : number;  // as SQLite does: never -0.0
        } else {
            if (literal.kind != Is::Text || place.isNegative) return std::nullopt;
            row.status = literal.text;
        }
    }
    row.measValueId = key[packed::kMeasValueId];
    row.periodNo = key[packed::kPeriodNo];
    row.channel = key[packed::kChannel];
    row.funcId = key[packed::kFuncId];
    row.frqId = key[packed::kFrqId];
    return row;
}

std::optional<packed::Ranges> ValueStatement::RangesOf(
    std::span<const dialect::Literal> literals) const {
    packed::Ranges ranges;
    if (literals.size() != places.size()) return std::nullopt;
    for (std::size_t i = 0; i < places.size(); ++i) {
        const auto number = IntegerOf(places[i], literals[i]);
        if (!number) return std::nullopt;
        packed::Range& range = ranges[static_cast<std::size_t>(places[i].column)];
        const char comparison = places[i].comparison;
        const bool isLast = comparison != '>' && comparison != 'g';
        const bool isFirst = comparison != '<' && comparison != 'l';
        if (isLast && *number - (comparison == '<') < range.last)
            range.last = *number - (comparison == '<');
        if (isFirst && *number + (comparison == '>') > range.first)
            range.first = *number + (comparison == '>');
    }
    return ranges;
}

const ValueStatement& ValueStatements::Find(std::string_view text) {
    for (const Known& known : known_) {
        if (known.text == text) return known.statement;
    }
    Known& known = known_[next_];
    next_ = (next_ + 1) % known_.size();
    known = {std::string(text), Recognise(text)};
    return known.statement;
}

}  // namespace mersola::sqlite
