// The statuses of many values: each text once.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace mersola::packed {

using Status = std::optional<std::string>;
using StatusView = std::optional<std::string_view>;

inline StatusView View(const Status& status) {
    return status ? StatusView(*status) : std::nullopt;
}

class StatusTable {
  public:
    /// Most statuses that an index of 16 bits tells apart.
    static constexpr std::size_t kMost = 65536;

    bool IsFull() const { return texts_.size() == kMost; }
    /// The status's index. The table must not be full.
    std::uint16_t Index(StatusView status);
    const std::vector<Status>& Texts() const { return texts_; }
    void Clear();

  private:
    std::vector<Status> texts_;
    std::unordered_map<std::string, std::uint16_t> byText_;
    std::optional<std::uint16_t> null_;
    std::uint16_t last_ = 0;
};

/// The indices that the statuses of one list have in a table.
class StatusTranslation {
  public:
    explicit StatusTranslation(StatusTable& table) : table_(table) {}

    /// From now on indices are of this list.
    void Use(const std::vector<Status>& statuses);
    /// Raises std::length_error when the table is full.
    std::uint16_t operator[](std::uint16_t index);

  private:
    StatusTable& table_;
    const std::vector<Status>* from_ = nullptr;
    std::vector<int> known_;
};

}  // namespace mersola::packed
