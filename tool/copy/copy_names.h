// Under which numbers a copy stores functions, and the names that go with them.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "copy_side.h"

namespace mersola::tool {

/// The names of functions and bands, from one database to the other. A function keeps its number
/// unless the target has given that to a function of another name: it then goes by the number of
/// its own name, or by a new one. So does one without a name, which then gets one. A band keeps its
/// number always.
class CopiedNames {
  public:
    /// Reads both databases and writes nothing.
    CopiedNames(Side& from, Side& to);

    /// The number of a function in the target.
    std::int32_t FunctionIn(std::int32_t number) const;

    /// Adds the names that the target lacks.
    void Store(Side& to) const { to.RunTogether(inserts_); }

    /// What the target names otherwise, as "function 8 'L5' became 12"; a name of its own stays.
    const std::vector<std::string>& Differences() const { return differences_; }

  private:
    void PlanFunctions(Side& from, Side& to);
    void PlanBands(Side& from, Side& to);

    std::map<std::int32_t, std::int32_t> numbers_;  // of the functions whose number changes
    std::vector<std::string> inserts_;
    std::vector<std::string> differences_;
};

}  // namespace mersola::tool
