// Which columns of a file hold what.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "csv_commands.h"
#include "csv_format.h"
#include "import_bands.h"

namespace mersola::tool {

class ImportedColumns {
  public:
    /// Reads the header. Raises Failure when a column is not there that must be.
    ImportedColumns(std::span<const std::string> header, const ImportOptions& options,
                    ImportedBands& bands);

    bool Has(CsvColumn column) const { return positions_[column].has_value(); }
    /// The field of a record, empty when there is no such column.
    const std::string& In(std::span<const std::string> fields, CsvColumn column) const {
        static const std::string none;
        return Has(column) ? fields[*positions_[column]] : none;
    }
    /// In a file with a column for each band: their positions, and the bands. Else empty.
    const std::vector<std::pair<std::size_t, std::int32_t>>& Bands() const { return bands_; }

    std::size_t Count() const { return header_.size(); }

  private:
    std::size_t PositionOf(std::string_view name) const;
    std::optional<std::size_t> FindPosition(std::string_view name) const;
    void Assign(const std::vector<std::string>& columns, ImportedBands& bands);
    void AddBand(std::size_t position, std::int32_t band);
    void TakeOthers(bool isAsked, ImportedBands& bands);
    void Require(const ImportOptions& options) const;

    std::vector<std::string> header_;
    std::vector<bool> isUsed_;
    std::array<std::optional<std::size_t>, kCsvColumns> positions_;
    std::vector<std::pair<std::size_t, std::int32_t>> bands_;
};

}  // namespace mersola::tool
