// Storing imported values, many at a time.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <mersola/mersola.h>

#include "import_target.h"

namespace mersola::tool {

struct ImportedValue {
    ImportedReport* report;
    std::int32_t channel, function, period, band;
    std::optional<double> value;
    std::string status;
    std::size_t line;  ///< of the file
    bool isSkipped = false;

    /// What it is stored under.
    std::tuple<std::int32_t, std::int32_t, std::int32_t, std::int32_t, std::int32_t> Key() const {
        return {report->key, channel, function, period, band};
    }
};

/// Every operation raises Failure, which begins with a line of the file, or _com_error.
class ImportedValues {
  public:
    explicit ImportedValues(Mersola& store) : store_(store) {}

    /// Keeps the value until they are stored. One that is stored already with the same number and
    /// status is skipped; another one is a Failure.
    void Add(ImportedValue value);
    void Store(ImportTarget& target);

    std::int64_t Stored() const { return stored_; }
    std::int64_t Skipped() const { return skipped_; }

  private:
    using Iterator = std::vector<ImportedValue>::iterator;

    void SkipRepeated();
    void SkipStored();
    void SkipStored(Iterator first, Iterator last);
    void Skip(ImportedValue& value, const std::optional<double>& number, const std::string& status);
    void Insert(ImportTarget& target);

    Mersola& store_;
    std::vector<ImportedValue> values_;
    std::optional<std::pair<std::size_t, std::string>> conflict_;  // the first line that has one
    std::int64_t stored_ = 0, skipped_ = 0;
};

}  // namespace mersola::tool
