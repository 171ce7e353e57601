// Where in a statement a literal may give way to a parameter.
#pragma once

#include <cstdint>
#include <vector>

#include "keywords.h"

namespace mersola::dialect {

// Follows a statement word by word. A literal may go only where an expression certainly stands
// and where nothing depends on how it is written: a select list keeps its literals, for they name
// its columns, and so do the terms of GROUP BY and ORDER BY, where a bare number is the position
// of a column.
class Places {
  public:
    void Reset();

    void Word(Keyword keyword, Keyword previous);
    void Symbol(char symbol, Keyword previous);

    bool Lifts() const;

    // Whether this is inside the parentheses of a WITH that is no list of table hints.
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
        Assigned,    // its right side
        Condition,   // behind ON
        Conflict,    // behind ON CONFLICT, which must repeat the words of an index
    };

    // One pair of parentheses, or the statement itself.
    struct Frame {
        Place place = Place::Names;
        bool fixed = false;  // below terms, or behind the AS of a CAST: nothing gives way
        bool cast = false;
        bool foreign = false;
        std::size_t mark = 0;
    };

    std::vector<Frame> frames_{Frame()};
};

}  // namespace mersola::dialect
