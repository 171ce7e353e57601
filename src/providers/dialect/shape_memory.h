// Remembers the statements that were translated last, without their literals.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "lexer.h"

namespace mersola::dialect {

// The text around the literals that were lifted from a statement, and its translation. A statement
// with the same text around literals of its own has the same translation.
struct Shape {
    bool known = false;             // complete
    std::string stretches;          // the stretches of text between the literals, joined
    std::vector<std::size_t> ends;  // where each of them ends
    std::string text;
};

// A program repeats a few shapes over and over. The memory finds them again by comparing bytes,
// which costs a fraction of reading token by token. It keeps its buffers.
class ShapeMemory {
  public:
    // A statement to be remembered comes in pieces, in the order of its source: Begin, a Lift for
    // each literal that was lifted, and Commit. A statement without a Commit is forgotten.
    void Begin(std::string_view sql);
    void Lift(const Token& literal);
    void Commit(std::string_view text);

    // Says that the translation of this statement depends on more than its text around the
    // literals.
    void Abandon() { fit_ = false; }

    // Hands the shapes to `fits`, the latest first, until it says that one fits.
    template <typename Fits>
    const Shape* Find(Fits fits) {
        for (std::size_t i = 0; i < kMost; ++i) {
            const std::size_t at = (latest_ + i) % kMost;
            if (!shapes_[at].known || !fits(shapes_[at])) continue;
            latest_ = at;
            return &shapes_[at];
        }
        return nullptr;
    }

  private:
    static constexpr std::size_t kMost = 16;
    static constexpr std::size_t kLongest = 2048;  // bytes of source

    std::array<Shape, kMost> shapes_;
    std::size_t latest_ = 0;  // the shape that was used last
    std::size_t next_ = 0;    // the shape that is replaced next
    bool fit_ = false;
    std::string_view rest_;  // the rest of the source
};

}  // namespace mersola::dialect
