// Time zones, by their names in the tz database of the system.
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace mersola::tool {

/// Milliseconds since 1970, in UTC and on a local clock.
using UniversalTime = std::chrono::sys_time<std::chrono::milliseconds>;
using LocalTime = std::chrono::local_time<std::chrono::milliseconds>;

/// While it lives it is the zone of the whole process: the C library knows one at a time.
class TimeZone {
  public:
    /// Raises Failure when there is none of that name, as "Europe/Berlin".
    explicit TimeZone(const std::string& name);
    ~TimeZone();
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;

    const std::string& Name() const { return name_; }
    LocalTime Local(UniversalTime time) const;
    /// How often clocks show this time: never or twice where they are changed.
    int Occurrences(LocalTime time) const;

  private:
    std::string name_;
    std::optional<std::string> before_;
};

}  // namespace mersola::tool
