// Tells where in a statement a parameter may replace a literal.
#pragma once

#include <cstdint>
#include <vector>

#include "keywords.h"

namespace mersola::dialect {

// Follows a statement word by word. A parameter may replace a literal only where an expression
// certainly stands and nothing depends on how the literal is written. A select list keeps its
// literals, because they name its columns. The terms of GROUP BY and ORDER BY keep theirs, because
// a bare number there is the position of a column.
class Places {
  public:
    void Reset();

    void Word(Keyword keyword, Keyword previous);
    void Symbol(char symbol, Keyword previous);

    bool Lifts() const;

    // Whether this is inside the parentheses of a WITH that holds no list of table hints.
    bool InForeignHint() const { return frames_.back().foreign; }

    // The mark that `SetMark` left on the parentheses that are open, or 0.
    std::size_t Mark() const { return frames_.back().mark; }
    void SetMark(std::size_t mark) { frames_.back().mark = mark; }

  private:
    enum class Place : std::uint8_t {
        Names,       // tables, columns, aliases
        Terms,       // a select list, GROUP BY or ORDER BY
        Expression,  // a value
        Target,      // the left side of an assignment
        Assigned,    // the right side of an assignment
        Condition,   // behind ON
        Conflict,    // behind ON CONFLICT, where the words of an index are repeated
    };

    // One pair of parentheses, or the statement itself.
    struct Frame {
        Place place = Place::Names;
        bool fixed = false;  // below terms, or behind the AS of a CAST: all literals stay
        bool cast = false;
        bool foreign = false;
        std::size_t mark = 0;
    };

    std::vector<Frame> frames_{Frame()};
};

}  // namespace mersola::dialect
