// What stands in a CSV for an instrument, a function or a band.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace mersola::tool {

/// The number in a text like "#12".
std::optional<std::int32_t> NumberLabel(std::string_view text);

/// Names and numbers of the things of one kind.
class Labels {
  public:
    /// An empty name means that it has none.
    void Add(std::int32_t id, const std::string& name);

    /// Its name, or "#12" when the name would not lead back to it.
    std::string Of(std::int32_t id) const;

    /// The one of that name, without regard to case; of several the first.
    std::optional<std::int32_t> Find(std::string_view name) const;
    std::optional<std::int32_t> FindIf(std::string_view name,
                                       const std::function<bool(std::int32_t)>& fits) const;

    /// Empty when it has none, or is not there.
    std::string NameOf(std::int32_t id) const;
    bool Contains(std::int32_t id) const { return names_.contains(id); }

    const std::map<std::int32_t, std::string>& Names() const { return names_; }
    std::int32_t Last() const { return names_.empty() ? 0 : names_.rbegin()->first; }

  private:
    std::map<std::int32_t, std::string> names_;
    std::multimap<std::string, std::int32_t> ids_;  // by name in lower case
};

}  // namespace mersola::tool
