#include "statuses.h"

#include <stdexcept>

namespace mersola::packed {

std::uint16_t StatusTable::Index(StatusView status) {
    if (last_ < texts_.size() && View(texts_[last_]) == status) return last_;
    const auto next = static_cast<std::uint16_t>(texts_.size());
    if (!status) {
        if (!null_) {
            null_ = next;
            texts_.emplace_back();
        }
        return last_ = *null_;
    }
    const auto [found, isNew] = byText_.try_emplace(std::string(*status), next);
    if (isNew) texts_.emplace_back(*status);
    return last_ = found->second;
}

void StatusTable::Clear() {
    texts_.clear();
    byText_.clear();
    null_.reset();
    last_ = 0;
}

void StatusTranslation::Use(const std::vector<Status>& statuses) {
    if (&statuses == from_) return;
    from_ = &statuses;
    known_.assign(statuses.size(), -1);
}

std::uint16_t StatusTranslation::operator[](std::uint16_t index) {
    int& known = known_[index];
    if (known < 0) {
        if (table_.IsFull()) throw std::length_error("too many different statuses");
        known = table_.Index(View((*from_)[index]));
    }
    return static_cast<std::uint16_t>(known);
}

}  // namespace mersola::packed
