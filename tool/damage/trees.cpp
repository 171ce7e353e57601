// Walking trees, and finding what their damaged pages led to.
#include "trees.h"

#include <algorithm>
#include <limits>

namespace mersola::tool {
namespace {

constexpr int kDeepest = 40;

bool Fits(const Field& field, Stored stored) {
    const bool isNull = std::holds_alternative<std::monostate>(field);
    const bool isNumber = std::holds_alternative<std::int64_t>(field);
    if (std::holds_alternative<LostField>(field)) return true;
    switch (stored) {
        case Stored::Number:
            return isNumber;
        case Stored::NumberOrNull:
            return isNumber || isNull;
        case Stored::Real:
            return isNumber || isNull || std::holds_alternative<double>(field);
        case Stored::Text:
            return isNull || std::holds_alternative<std::string>(field);
        case Stored::Blob:
            return std::holds_alternative<BlobField>(field);
        case Stored::Nothing:
            return isNull;
        default:
            return true;
    }
}

bool Fits(const Record& record, const Shape& shape) {
    const auto& fields = record.fields;
    if (shape.IsOpen()) return true;
    if (fields.size() > shape.fields.size() || fields.size() < shape.least) return false;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (!Fits(fields[i], shape.fields[i])) return false;
    }
    return true;
}

bool HasRows(const TreePage& page) {
    return page.isLeaf || page.isIndex;
}

// Whether the page's rows fit, in their order and between the bounds.
bool Fits(const TreePage& page, const Shape& shape, const Gap& bounds) {
    if (page.isIndex != shape.isIndex) return false;
    const TreeKey* last = nullptr;
    TreeKey key, before;
    for (const TreeCell& cell : page.cells) {
        if (HasRows(page) && !Fits(cell.record, shape)) return false;
        key = KeyOf(shape, cell.record);
        const bool mayRepeat = shape.isIndex && !shape.isUnique;
        if (last && (mayRepeat ? key < *last : key <= *last)) return false;
        if (bounds.after && (mayRepeat ? key < *bounds.after : key <= *bounds.after)) return false;
        if (bounds.before && (mayRepeat ? key > *bounds.before : key >= *bounds.before))
            return false;
        before = std::move(key);
        last = &before;
    }
    return true;
}

}  // namespace

TreeKey KeyOf(const Shape& shape, const Record& record) {
    if (!shape.isIndex) return {record.rowid};
    TreeKey key;
    for (std::size_t i = 0; i < shape.ordered; ++i) {
        const auto* number =
            i < record.fields.size() ? std::get_if<std::int64_t>(&record.fields[i]) : nullptr;
        key.push_back(number ? *number : std::numeric_limits<std::int64_t>::min());
    }
    return key;
}

Trees::Trees(const PageFile& file) : file_(file), taken_(std::size_t{file.Count()} + 1) {
    taken_[0] = true;
}

struct Trees::Walker {
    Trees& trees;
    const Shape& shape;
    const TakeRecord& take;
    std::vector<Gap> gaps{};

    void Visit(const Gap& place, int depth) {
        std::optional<TreePage> page;
        if (depth <= kDeepest && !trees.IsTaken(place.page))
            page = ReadTreePage(trees.file_, place.page);
        if (!page || !Fits(*page, shape, place)) {
            gaps.push_back(place);
            return;
        }
        trees.taken_[place.page] = true;
        std::optional<TreeKey> after = place.after;
        for (TreeCell& cell : page->cells) {
            TreeKey key = KeyOf(shape, cell.record);
            TreeKey before = key;
            // Inner pages of a table repeat the number of the last row below them.
            if (!shape.isIndex && before[0] < std::numeric_limits<std::int64_t>::max()) ++before[0];
            if (!page->isLeaf) Visit({cell.left, after, before}, depth + 1);
            for (const PageNumber each : cell.overflow)
                trees.taken_[each] = true;
            if (HasRows(*page)) take(cell.record);
            after = std::move(key);
        }
        if (!page->isLeaf) Visit({page->right, after, place.before}, depth + 1);
    }
};

std::vector<Gap> Trees::Walk(PageNumber root, const Shape& shape, const TakeRecord& take) {
    Walker walker{*this, shape, take};
    walker.Visit({root, {}, {}}, 0);
    return std::move(walker.gaps);
}

bool Trees::ReadFreeList(PageNumber page, PageNumber& next, std::vector<PageNumber>& free) const {
    std::string bytes;
    if (IsTaken(page) || !file_.Read(page, bytes)) return false;
    next = NumberAt(bytes, 0, 4);
    const std::size_t count = NumberAt(bytes, 4, 4);
    if (next > file_.Count() || count > file_.Usable() / 4 - 2) return false;
    free.clear();
    for (std::size_t i = 0; i < count; ++i) {
        free.push_back(NumberAt(bytes, 8 + 4 * i, 4));
        if (IsTaken(free.back())) return false;
    }
    return true;
}

bool Trees::FindFree() {
    if (file_.Free()) return FindFreeByHeader();
    FindFreeByLooks();
    return true;
}

bool Trees::FindFreeByHeader() {
    PageNumber found = 0, next = 0;
    std::vector<PageNumber> free;
    for (PageNumber page = file_.Free()->first; page != 0; page = next) {
        if (!ReadFreeList(page, next, free)) return false;
        taken_[page] = true;
        for (const PageNumber each : free)
            taken_[each] = true;
        found += 1 + static_cast<PageNumber>(free.size());
    }
    return found == file_.Free()->count;
}

void Trees::FindFreeByLooks() {
    std::vector<PageNumber> all, free;
    for (PageNumber page = 1; page <= file_.Count(); ++page) {
        PageNumber next = 0;
        if (!ReadFreeList(page, next, free) || free.empty()) continue;
        std::ranges::sort(free);
        if (std::ranges::adjacent_find(free) != free.end()) continue;
        all.push_back(page);
        all.insert(all.end(), free.begin(), free.end());
    }
    for (const PageNumber each : all)
        taken_[each] = true;
}

std::set<std::size_t> Trees::ReadStrays(const std::vector<Torn>& torn) {
    std::set<std::size_t> found;
    if (torn.empty()) return found;
    for (PageNumber number = 1; number <= file_.Count(); ++number) {
        if (IsTaken(number)) continue;
        auto page = ReadTreePage(file_, number);
        if (!page || !HasRows(*page) || page->cells.empty()) continue;
        std::vector<std::size_t> owners;
        for (std::size_t i = 0; i < torn.size(); ++i) {
            if (std::ranges::any_of(*torn[i].gaps, [&](const Gap& gap) {
                    return Fits(*page, *torn[i].shape, gap);
                }))
                owners.push_back(i);
        }
        if (owners.size() != 1) continue;
        found.insert(owners.front());
        taken_[number] = true;
        for (TreeCell& cell : page->cells) {
            for (const PageNumber each : cell.overflow)
                taken_[each] = true;
            torn[owners.front()].take(cell.record);
        }
    }
    return found;
}

}  // namespace mersola::tool
