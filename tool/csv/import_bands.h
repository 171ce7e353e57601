// What the texts of a file mean as frequency bands.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "import_names.h"

namespace mersola::tool {

/// Every operation that gives a band raises Failure for a text that is none, or _com_error.
class ImportedBands {
  public:
    /// `areNumbers`: whether a bare number is that of a band; else it is a frequency in hertz.
    ImportedBands(ImportedKind& kind, bool areNumbers) : kind_(kind), areNumbers_(areNumbers) {}

    /// Whether a heading that nobody has said anything of is a band.
    bool IsKnown(const std::string& heading) const;
    /// The band of a heading: a known name, a frequency, or a number.
    std::int32_t OfHeading(const std::string& heading);
    /// What a row or the command line calls a band: a new name is added.
    std::int32_t Find(const std::string& text);

  private:
    std::optional<std::int32_t> Known(const std::string& text);

    ImportedKind& kind_;
    bool areNumbers_;
};

}  // namespace mersola::tool
