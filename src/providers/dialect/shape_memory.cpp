// The statements that were translated last, without their literals.
#include "shape_memory.h"

namespace mersola::dialect {
namespace {

// Whether a text that ends with `c` would run into a literal that follows it directly.
bool MayRunOn(char c) {
    return IsWordCharacter(c) || c == '.' || c == '\'';
}

}  // namespace

void ShapeMemory::Begin(std::string_view sql) {
    fit_ = sql.size() <= kLongest;
    rest_ = sql;
    Shape& shape = shapes_[next_];
    shape.known = false;
    shape.stretches.clear();
    shape.ends.clear();
}

void ShapeMemory::Lift(const Token& literal) {
    if (!fit_) return;
    Shape& shape = shapes_[next_];
    const auto length = static_cast<std::size_t>(literal.text.data() - rest_.data());
    if (length == 0 || MayRunOn(rest_[length - 1])) return Abandon();
    shape.stretches += rest_.substr(0, length);
    shape.ends.push_back(shape.stretches.size());
    rest_.remove_prefix(length + literal.text.size());
}

void ShapeMemory::Commit(std::string_view text) {
    if (!fit_) return;
    Shape& shape = shapes_[next_];
    shape.stretches += rest_;
    shape.ends.push_back(shape.stretches.size());
    shape.text = text;
    shape.known = true;
    latest_ = next_;
    next_ = (next_ + 1) % kMost;
}

}  // namespace mersola::dialect
