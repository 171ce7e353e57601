// Looking into listings.
#include "list.h"

#include <algorithm>
#include <charconv>
#include <iterator>

namespace mersola::c {

Cell::Cell(double number) : kind(MERSOLA_KIND_REAL), real(number) {
    char digits[64];  // the shortest text that reads back as the same number
    const auto end = std::to_chars(std::begin(digits), std::end(digits), number).ptr;
    text.assign(digits, end);
}

}  // namespace mersola::c

const mersola::c::Cell* mersola_list::At(std::int64_t row, std::int32_t field) const {
    const auto column = std::ranges::find(fields, field) - fields.begin();
    const auto width = static_cast<std::int64_t>(fields.size());
    if (row < 0 || row >= Rows() || column == width) return nullptr;
    return &cells[static_cast<std::size_t>(row * width + column)];
}

void mersola_list_free(mersola_list* list) {
    delete list;
}

int64_t mersola_list_size(const mersola_list* list) {
    return list ? list->Rows() : 0;
}

int32_t mersola_list_kind(const mersola_list* list, int32_t field) {
    const auto* const cell = list ? list->At(0, field) : nullptr;
    return cell ? cell->kind : MERSOLA_KIND_NONE;
}

int64_t mersola_list_integer(const mersola_list* list, int64_t row, int32_t field) {
    const auto* const cell = list ? list->At(row, field) : nullptr;
    return cell ? cell->integer : 0;
}

double mersola_list_real(const mersola_list* list, int64_t row, int32_t field) {
    const auto* const cell = list ? list->At(row, field) : nullptr;
    return cell ? cell->real : 0;
}

const char* mersola_list_text(const mersola_list* list, int64_t row, int32_t field) {
    const auto* const cell = list ? list->At(row, field) : nullptr;
    return cell ? cell->text.c_str() : "";
}
