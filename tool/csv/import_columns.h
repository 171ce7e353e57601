// Which columns of a file hold what.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "csv_commands.h"
#include "csv_format.h"
#include "import_bands.h"

namespace mersola::tool {

/// A column with values: of a function and a band, where the heading tells them.
struct ValueColumn {
    std::size_t position;
    std::optional<std::int32_t> function, band;
};

class ImportedColumns {
  public:
    /// Whether a record has the columns that the command line names, and one for the times.
    static bool AreIn(std::span<const std::string> header, const ImportOptions& options);

    /// Reads the header. Raises Failure when a column is not there that must be.
    ImportedColumns(std::span<const std::string> header, const ImportOptions& options,
                    ImportedKind& functions, ImportedBands& bands);

    /// Looks at a row: a time of day goes with the column Date, any other time stands alone.
    void Settle(std::span<const std::string> fields);

    bool Has(CsvColumn column) const { return positions_[column].has_value(); }
    /// The field of a record, empty when there is no such column.
    const std::string& In(std::span<const std::string> fields, CsvColumn column) const {
        static const std::string none;
        return Has(column) ? fields[*positions_[column]] : none;
    }
    /// The time of a record, with its date. Empty when there is none.
    std::string TimeIn(std::span<const std::string> fields) const;

    const std::vector<ValueColumn>& Values() const { return values_; }
    /// Whether there is one column for values of all functions and bands.
    bool IsLong() const { return Has(kValueColumn); }

    std::size_t Count() const { return header_.size(); }
    /// Whether the lines end with a separator, behind which nothing stands.
    bool IsLastEmpty() const { return header_.back().empty(); }

  private:
    std::size_t PositionOf(std::string_view name) const;
    std::optional<std::size_t> FindPosition(std::string_view name) const;
    void Assign(const std::vector<std::string>& columns, ImportedBands& bands);
    void AddFunction(const std::string& text, ImportedKind& functions);
    void AddBand(std::size_t position, std::int32_t band);
    void Add(const ValueColumn& column);
    void TakeOthers(bool isAsked, ImportedBands& bands);
    void Require(const ImportOptions& options) const;
    std::string Listed() const;

    std::vector<std::string> header_;
    std::vector<bool> isUsed_;
    std::array<std::optional<std::size_t>, kReadColumns> positions_;
    std::vector<ValueColumn> values_;
};

}  // namespace mersola::tool
