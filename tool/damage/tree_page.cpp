// Taking a page apart. The numbers are those of SQLite's file format.
#include "tree_page.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "basics/utf8.h"

namespace mersola::tool {
namespace {

// Reads one number after the other, and remembers when there was no more to read.
class Cursor {
  public:
    Cursor(std::string_view bytes, std::size_t at) : bytes_(bytes), at_(at) {}

    std::uint64_t Varint() {
        std::uint64_t number = 0;
        for (int i = 0; i < 9; ++i) {
            const auto byte = static_cast<unsigned char>(Byte());
            if (i == 8) return number << 8 | byte;
            number = number << 7 | (byte & 0x7FU);
            if (byte < 0x80) break;
        }
        return number;
    }
    std::uint32_t Number() {
        if (at_ + 4 > bytes_.size()) isGood_ = false;
        at_ += 4;
        return isGood_ ? NumberAt(bytes_, at_ - 4, 4) : 0;
    }
    std::size_t At() const { return at_; }
    bool IsGood() const { return isGood_; }

  private:
    char Byte() {
        if (at_ < bytes_.size()) return bytes_[at_++];
        isGood_ = false;
        return 0;
    }

    std::string_view bytes_;
    std::size_t at_;
    bool isGood_ = true;
};

std::uint64_t SizeOf(std::uint64_t type) {
    constexpr std::uint64_t sizes[] = {0, 1, 2, 3, 4, 6, 8, 8, 0, 0};
    return type < std::size(sizes) ? sizes[type] : (type - 12) / 2;
}

Field FieldOf(std::uint64_t type, std::string_view bytes) {
    if (type == 0) return {};
    if (type == 8 || type == 9) return static_cast<std::int64_t>(type - 8);
    if (type >= 12)
        return type % 2 == 0 ? Field(BlobField{std::string(bytes)}) : Field(std::string(bytes));
    std::uint64_t number =
        (static_cast<unsigned char>(bytes[0]) & 0x80) != 0 ? ~std::uint64_t{0} : 0;
    for (const char each : bytes)
        number = number << 8 | static_cast<unsigned char>(each);
    if (type != 7) return static_cast<std::int64_t>(number);
    double real = 0;
    std::memcpy(&real, &number, sizeof(real));
    return real;
}

// The rest of a long row; nothing when any of its pages is not what it should be.
std::optional<std::string> ReadOverflow(const PageFile& file, PageNumber page, std::uint64_t size,
                                        std::vector<PageNumber>& pages) {
    const std::size_t most = file.Usable() - 4;
    if (size > std::uint64_t{file.Count()} * most) return std::nullopt;
    std::string rest, bytes;
    while (rest.size() < size) {
        if (!file.Read(page, bytes)) return std::nullopt;
        pages.push_back(page);
        page = NumberAt(bytes, 0, 4);
        rest.append(bytes, 4, std::min<std::uint64_t>(most, size - rest.size()));
        if ((page != 0) != (rest.size() < size)) return std::nullopt;
    }
    return rest;
}

// `isWhole`: whether the payload is; it may be cut off behind `local` bytes.
std::optional<std::vector<Field>> ReadFields(std::string_view payload, std::uint64_t size,
                                             std::size_t local) {
    Cursor header(payload.substr(0, local), 0);
    const std::uint64_t end = header.Varint();
    if (!header.IsGood() || end > local || end < header.At()) return std::nullopt;
    std::vector<Field> fields;
    std::uint64_t at = end;
    while (header.At() < end) {
        const std::uint64_t type = header.Varint();
        if (!header.IsGood() || type == 10 || type == 11) return std::nullopt;
        const std::uint64_t length = SizeOf(type);
        if (length > size - at) return std::nullopt;
        if (at + length > payload.size()) {
            fields.emplace_back(LostField{});
        } else {
            fields.push_back(FieldOf(type, payload.substr(at, length)));
            // Nothing else tells whether what lies on other pages is what was written.
            const auto* text = std::get_if<std::string>(&fields.back());
            if (at + length > local && text && (!IsUtf8(*text) || text->find('\0') != text->npos))
                fields.back() = LostField{};
        }
        at += length;
    }
    return header.At() == end && at == size ? std::optional(std::move(fields)) : std::nullopt;
}

class PageReader {
  public:
    PageReader(const PageFile& file, PageNumber number)
        : file_(file), base_(number == 1 ? 100 : 0) {
        isThere_ = file.Read(number, bytes_);
        usable_ = file.Usable();
    }

    std::optional<TreePage> Read() {
        if (!isThere_) return std::nullopt;
        const std::uint32_t kind = NumberAt(bytes_, base_, 1);
        if (kind != 2 && kind != 5 && kind != 10 && kind != 13) return std::nullopt;
        TreePage page{.isIndex = kind == 2 || kind == 10, .isLeaf = kind >= 10};
        const std::size_t pointers = base_ + (page.isLeaf ? 8 : 12);
        if (!page.isLeaf) page.right = NumberAt(bytes_, base_ + 8, 4);
        const std::size_t count = NumberAt(bytes_, base_ + 3, 2);
        content_ = NumberAt(bytes_, base_ + 5, 2);
        if (content_ == 0) content_ = 65536;
        if (pointers + 2 * count > content_ || content_ > usable_) return std::nullopt;
        for (std::size_t i = 0; i < count; ++i) {
            auto cell = ReadCell(page, NumberAt(bytes_, pointers + 2 * i, 2));
            if (!cell) return std::nullopt;
            page.cells.push_back(std::move(*cell));
        }
        if (!IsAllAccountedFor()) return std::nullopt;
        return page;
    }

  private:
    std::optional<TreeCell> ReadCell(const TreePage& page, std::size_t start) {
        if (start < content_ || start >= usable_) return std::nullopt;
        TreeCell cell;
        Cursor cursor(std::string_view(bytes_).substr(0, usable_), start);
        if (!page.isLeaf) cell.left = cursor.Number();
        const bool hasPayload = page.isLeaf || page.isIndex;
        const std::uint64_t size = hasPayload ? cursor.Varint() : 0;
        if (!page.isIndex) cell.record.rowid = static_cast<std::int64_t>(cursor.Varint());
        if (!cursor.IsGood()) return std::nullopt;
        std::size_t end = cursor.At();
        if (hasPayload) {
            const std::size_t local = LocalOf(size, page.isIndex);
            const bool isCut = local < size;
            end += local + (isCut ? 4 : 0);
            if (end > usable_) return std::nullopt;
            std::string payload = bytes_.substr(cursor.At(), local);
            if (isCut)
                payload +=
                    ReadOverflow(file_, NumberAt(bytes_, end - 4, 4), size - local, cell.overflow)
                        .value_or("");
            auto fields = ReadFields(payload, size, local);
            if (!fields) return std::nullopt;
            cell.record.fields = std::move(*fields);
        }
        taken_.emplace_back(start, std::max(end, start + 4));
        return cell;
    }

    // How much of a row lies on this page.
    std::size_t LocalOf(std::uint64_t size, bool isIndex) const {
        const std::size_t most = isIndex ? (usable_ - 12) * 64 / 255 - 23 : usable_ - 35;
        if (size <= most) return size;
        const std::size_t least = (usable_ - 12) * 32 / 255 - 23;
        const std::size_t local = least + (size - least) % (usable_ - 4);
        return local <= most ? local : least;
    }

    // Rows, free blocks and the counted scraps between them fill the page without overlap.
    bool IsAllAccountedFor() {
        std::size_t block = NumberAt(bytes_, base_ + 1, 2);
        while (block != 0) {
            if (block < content_ || block + 4 > usable_) return false;
            const std::size_t next = NumberAt(bytes_, block, 2),
                              size = NumberAt(bytes_, block + 2, 2);
            if (size < 4 || (next != 0 && next <= block)) return false;
            taken_.emplace_back(block, block + size);
            block = next;
        }
        std::ranges::sort(taken_);
        std::size_t reached = content_, scraps = 0;
        for (const auto& [start, end] : taken_) {
            if (start < reached || end > usable_) return false;
            scraps += start - reached;
            reached = end;
        }
        return scraps + usable_ - reached == NumberAt(bytes_, base_ + 7, 1);
    }

    const PageFile& file_;
    std::size_t base_;
    std::string bytes_;
    bool isThere_;
    std::size_t usable_, content_ = 0;
    std::vector<std::pair<std::size_t, std::size_t>> taken_;
};

}  // namespace

std::optional<TreePage> ReadTreePage(const PageFile& file, PageNumber number) {
    return PageReader(file, number).Read();
}

}  // namespace mersola::tool
