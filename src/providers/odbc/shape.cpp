// Takes the values out of a statement, token by token.
#include "shape.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

#include "dialect/keywords.h"
#include "dialect/lexer.h"

namespace mersola::odbc {
namespace {

using dialect::Matches;
using dialect::Token;
using dialect::TokenKind;

constexpr std::size_t kMostValues = 100;
constexpr std::size_t kLongestText = 4000;  // beyond it SQL Server has another type

enum class Place {
    Elsewhere,
    Condition,   // behind WHERE and ON
    Assignment,  // behind SET
    Rows,        // behind VALUES
    Items,       // inside the parentheses behind VALUES
};

template <std::size_t size>
bool IsOneOf(const Token& token, const std::array<std::string_view, size>& words) {
    return token.kind == TokenKind::Word &&
           std::ranges::any_of(words, [&](auto word) { return Matches(token.text, word); });
}

Place Behind(const Token& word, Place before) {
    constexpr std::array<std::string_view, 9> kElsewhere{
        "SELECT", "FROM", "GROUP", "ORDER", "HAVING", "OPTION", "FOR", "OUTPUT", "RETURNING"};
    if (Matches(word.text, "WHERE") || Matches(word.text, "ON")) return Place::Condition;
    if (Matches(word.text, "SET")) return Place::Assignment;
    if (Matches(word.text, "VALUES")) return Place::Rows;
    return IsOneOf(word, kElsewhere) ? Place::Elsewhere : before;
}

Place Inside(Place outside) {
    if (outside == Place::Rows) return Place::Items;
    return outside == Place::Condition ? outside : Place::Elsewhere;
}

// Whether a value may begin behind `previous`.
bool Begins(Place place, const Token& previous) {
    switch (place) {
        case Place::Condition:
            return previous.Is('=') || previous.Is('<') || previous.Is('>');
        case Place::Assignment:
            return previous.Is('=');
        case Place::Items:
            return previous.Is('(') || previous.Is(',');
        default:
            return false;
    }
}

template <class Number>
std::optional<Number> Parsed(std::string_view digits) {
    Number number{};
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    return number;
}

// The value of a token, if a parameter can carry it just as the text says it. A literal with
// characters beyond ASCII is read in a code page, which may hold fewer characters than a parameter.
std::optional<ado::Cell> ValueOf(const Token& token, bool negative) {
    switch (token.kind) {
        case TokenKind::Integer:
            if (const auto number = Parsed<std::int32_t>(token.text))
                return ado::Cell::Integer(negative ? -std::int64_t{*number} : *number);
            return std::nullopt;
        case TokenKind::Real:
            if (const auto number = Parsed<double>(token.text))
                return ado::Cell::Real((negative ? -*number : *number) + 0.0);  // no -0
            return std::nullopt;
        case TokenKind::Text: {
            const std::string_view body = token.Body();
            if (negative || token.doubled || body.size() > kLongestText ||
                std::ranges::any_of(body, [](char c) { return (c & 0x80) != 0; }))
                return std::nullopt;
            return ado::Cell::Text(body);
        }
        default:
            return std::nullopt;
    }
}

}  // namespace

Shape::Shape(std::string_view sql) {
    constexpr std::array<std::string_view, 4> kRows{"SELECT", "INSERT", "UPDATE", "DELETE"};
    constexpr std::array<std::string_view, 2> kHarmless{"WITH", "SET"};
    dialect::Lexer lexer(sql);
    std::vector<Place> places{Place::Elsewhere};
    std::size_t copied = 0;
    const auto lift = [&](std::size_t from, const Token& token, bool negative) {
        const auto value = ValueOf(token, negative);
        if (!value || (places.back() == Place::Condition && token.kind != TokenKind::Integer))
            return;
        text_ += sql.substr(copied, from - copied);
        text_ += '?';
        copied = lexer.PositionOf(token) + token.text.size();
        values_.push_back(*value);
    };
    Token previous;
    for (Token token = lexer.Next(); token.kind != TokenKind::End; token = lexer.Next()) {
        if (previous.kind == TokenKind::End) {
            definition_ = !IsOneOf(token, kRows) && !IsOneOf(token, kHarmless);
            if (!IsOneOf(token, kRows)) break;
        }
        const std::size_t from = lexer.PositionOf(token);
        const bool begins = Begins(places.back(), previous) && values_.size() < kMostValues;
        if (token.kind == TokenKind::Word) {
            places.back() = Behind(token, places.back());
        } else if (token.Is('(')) {
            places.push_back(Inside(places.back()));
        } else if (token.Is(')')) {
            if (places.size() > 1) places.pop_back();
        } else if (begins && token.Is('-')) {
            dialect::Lexer ahead = lexer;
            const Token number = ahead.Next();
            if (number.kind == TokenKind::Integer || number.kind == TokenKind::Real) {
                token = number;
                lexer = ahead;
                lift(from, number, true);
            }
        } else if (begins) {
            lift(from, token, false);
        }
        previous = token;
    }
    text_ += sql.substr(copied);
}

std::string Shape::Key() const {
    std::string key = text_ + ' ';
    for (const ado::Cell& value : values_)
        key += "nirt"[static_cast<int>(value.kind)];
    return key;
}

}  // namespace mersola::odbc
