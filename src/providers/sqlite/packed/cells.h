// What stands beside the numbers of a block: which cells have a row, which are NULL, and statuses.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "bytes.h"

namespace mersola::packed {

using Statuses = std::vector<std::optional<std::string>>;

inline constexpr std::size_t kMostStatuses = 65536;

void EncodeStatuses(const Statuses& statuses, std::string& out);
void DecodeStatuses(ByteReader& reader, Statuses& out);

/// The bits that an index takes.
unsigned StatusWidth(std::size_t statuses);

/// Indexes of statuses, each in StatusWidth bits.
void EncodeIndexes(std::span<const std::uint16_t> indexes, std::size_t statuses, std::string& out);
void DecodeIndexes(ByteReader& reader, std::size_t statuses, std::span<std::uint16_t> indexes);

/// The states of a band's cells: as those of the band before, where they are the same.
class BandStates {
  public:
    /// Before the first band, all are numbers.
    explicit BandStates(std::size_t periods) : numbers_(periods) {}

    static void Encode(std::span<const std::uint8_t> states, std::span<const std::uint8_t> before,
                       std::string& out);

    /// Reads the next band's. The bytes are referred to, not copied.
    void Read(ByteReader& reader, std::size_t periods);

    std::size_t Numbers() const { return numbers_; }
    void Expand(std::span<std::uint8_t> states) const;

  private:
    const std::byte* rows_ = nullptr;   // a bit for each period; null: all have one
    const std::byte* nulls_ = nullptr;  // null: none is
    std::size_t numbers_;
};

/// The indexes of a band's statuses, in the same way.
class BandIndexes {
  public:
    static void Encode(std::span<const std::uint16_t> indexes,
                       std::span<const std::uint16_t> before, std::size_t statuses,
                       std::string& out);

    void Read(ByteReader& reader, std::size_t periods, std::size_t statuses);

    void Expand(std::size_t statuses, std::span<std::uint16_t> indexes) const;

  private:
    const std::byte* packed_ = nullptr;  // null: all are the same
    std::uint16_t same_ = 0;
};

}  // namespace mersola::packed
