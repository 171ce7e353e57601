// Names, frequencies and numbers of bands.
#include "import_bands.h"

#include "bands/bands.h"
#include "basics/failure.h"
#include "basics/times_text.h"

namespace mersola::tool {
namespace {

constexpr const char* kFrequencies =
    "1.25, 1.6, 2, 2.5, 3.15, 4, 5, 6.3, 8, 10 Hz and ten, a hundred, ... times these up to "
    "100 kHz";

bool IsBareNumber(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789.,+-") == text.npos;
}

}  // namespace

bool ImportedBands::IsKnown(const std::string& heading) const {
    if (kind_.IsKnown(heading)) return true;
    if (areNumbers_ && IsBareNumber(heading)) return ParseNumber<std::int32_t>(heading).has_value();
    return acoustics::FindBand(heading) != nullptr;
}

std::optional<std::int32_t> ImportedBands::Known(const std::string& text) {
    if (kind_.IsKnown(text)) return kind_.Find(text);
    if (areNumbers_ && IsBareNumber(text)) {
        if (const auto number = ParseNumber<std::int32_t>(text)) return kind_.Find(*number);
        throw Failure(Quoted(Excerpt(text)) +
                      " is no number of a band, which --band-numbers asks for");
    }
    if (const auto* band = acoustics::FindBand(text)) return kind_.Find(*band);
    if (IsBareNumber(text))
        throw Failure(Quoted(Excerpt(text)) + " is no frequency of a band (" + kFrequencies +
                      "); if it is the number of one, say --band-numbers");
    return std::nullopt;
}

std::int32_t ImportedBands::OfHeading(const std::string& heading) {
    if (const auto known = Known(heading)) return *known;
    throw Failure("the heading " + Quoted(Excerpt(heading)) + " is no band (" + kFrequencies +
                  ", or a name that the database has); name those that are with --bands, and "
                  "another name with --column NAME=HEADING");
}

std::int32_t ImportedBands::Find(const std::string& text) {
    if (const auto known = Known(text)) return *known;
    return kind_.Find(text);
}

}  // namespace mersola::tool
