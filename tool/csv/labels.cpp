// Names that lead back to what they name.
#include "labels.h"

#include <algorithm>

#include <mersola/platform/text.h>

#include "basics/times_text.h"

namespace mersola::tool {
namespace {

std::string Lower(std::string_view text) {
    CString lower(text);
    return std::string(lower.MakeLower().View());
}

}  // namespace

std::optional<std::int32_t> NumberLabel(std::string_view text) {
    if (!text.starts_with('#')) return std::nullopt;
    text.remove_prefix(1);
    return ParseNumber<std::int32_t>(text);
}

void Labels::Add(std::int32_t id, const std::string& name) {
    if (names_.try_emplace(id, name).second && !name.empty()) ids_.emplace(Lower(name), id);
}

std::string Labels::Of(std::int32_t id) const {
    const std::string name = NameOf(id);
    const bool leadsBack = !name.empty() && !NumberLabel(name) && ids_.count(Lower(name)) == 1;
    return leadsBack ? name : "#" + std::to_string(id);
}

std::optional<std::int32_t> Labels::Find(std::string_view name) const {
    return FindIf(name, [](std::int32_t) { return true; });
}

std::optional<std::int32_t> Labels::FindIf(std::string_view name,
                                           const std::function<bool(std::int32_t)>& fits) const {
    const auto [first, last] = ids_.equal_range(Lower(name));
    const auto found =
        std::find_if(first, last, [&](const auto& each) { return fits(each.second); });
    if (found == last) return std::nullopt;
    return found->second;
}

std::string Labels::NameOf(std::int32_t id) const {
    const auto found = names_.find(id);
    return found == names_.end() ? std::string() : found->second;
}

}  // namespace mersola::tool
