// Recognises the statements on MeasuredValues that programs run all day.
#pragma once

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "dialect/translator.h"
#include "packed/plan.h"
#include "packed/stage.h"

namespace mersola::sqlite {

/// What a statement says, apart from its literals.
struct ValueStatement {
    enum class Kind {
        Other,   // none of these
        Insert,  // of one value, with all columns
        Select,  // * by conditions on the key, ordered by period and band or not at all
        First,   // MIN(PeriodNo) by conditions on the key
        Last,    // MAX(PeriodNo)
        Bands,   // DISTINCT FrqId by conditions on the key
        Delete,  // by conditions on the key
    };
    /// What the literal at its place is: a column's value, or the other side of its comparison,
    /// which `<`, `>`, `=`, `l` (<=) or `g` (>=) stands for.
    struct Place {
        packed::Column column;
        char comparison;
        bool isNegative;
    };

    Kind kind = Kind::Other;
    bool isOrdered = false;
    std::string expression;  // of First, Last and Bands, as it is written
    std::vector<Place> places;

    /// The row to insert; nothing where a literal is not what its column holds. The status refers
    /// to its literal.
    std::optional<packed::ValueRow> Row(std::span<const dialect::Literal> literals) const;
    /// What the conditions ask for; nothing where one compares with something else than an integer.
    std::optional<packed::Ranges> RangesOf(std::span<const dialect::Literal> literals) const;
};

/// Recognises a statement that the translator has taken the literals from.
ValueStatement Recognise(std::string_view text);

/// Remembers what the last few texts were.
class ValueStatements {
  public:
    const ValueStatement& Find(std::string_view text);

  private:
    struct Known {
        std::string text;
        ValueStatement statement;
    };
    std::array<Known, 8> known_;
    std::size_t next_ = 0;
};

}  // namespace mersola::sqlite
