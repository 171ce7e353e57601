// Asking the C library, which reads the tz database.
#include "time_zone.h"

#include <array>
#include <cstdlib>
#include <ctime>
#include <fstream>

#include "basics/failure.h"

namespace mersola::tool {
namespace {

using namespace std::chrono;

// The C library takes every name that it does not know for UTC.
bool IsThere(const std::string& name) {
    const char* const folder = std::getenv("TZDIR");
    std::ifstream file((folder ? folder : "/usr/share/zoneinfo") + ("/" + name), std::ios::binary);
    std::array<char, 4> mark{};
    return file.read(mark.data(), mark.size()) && std::string_view(mark.data(), 4) == "TZif";
}

seconds Offset(UniversalTime time) {
    const std::time_t passed = floor<seconds>(time).time_since_epoch().count();
    std::tm local{};
    localtime_r(&passed, &local);
    return seconds(local.tm_gmtoff);
}

}  // namespace

TimeZone::TimeZone(const std::string& name) : name_(name) {
    if (!IsThere(name))
        throw Failure("there is no time zone " + Quoted(Excerpt(name)) +
                      " in the system's tz database (package tzdata); give one as Europe/Berlin "
                      "or UTC");
    if (const char* before = std::getenv("TZ")) before_ = before;
    setenv("TZ", (":" + name).c_str(), 1);
    tzset();
}

TimeZone::~TimeZone() {
    if (before_)
        setenv("TZ", before_->c_str(), 1);
    else
        unsetenv("TZ");
    tzset();
}

LocalTime TimeZone::Local(UniversalTime time) const {
    return LocalTime((time + Offset(time)).time_since_epoch());
}

int TimeZone::Occurrences(LocalTime time) const {
    const UniversalTime near(time.time_since_epoch());
    const seconds before = Offset(near - days(1)), after = Offset(near + days(1));
    const auto isOne = [&](seconds offset) { return Offset(near - offset) == offset; };
    return isOne(before) + (after != before && isOne(after));
}

}  // namespace mersola::tool
