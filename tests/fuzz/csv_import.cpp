// CSV: any file is refused in one line, or read; what was read is exported, and imported as it is.
#include <array>

#include "property.h"
#include "tool_runs.h"

namespace mersola::fuzz {
namespace {

// What may be said of a file. The first byte of the input chooses.
const std::array<std::vector<std::string>, 8> kOptions{{
    {},
    {"--instrument", "Pier 4", "--measurement", "noise", "--function", "Leq", "--period", "1s"},
    {"--instrument", "Pier 4", "--measurement", "noise", "--period", "1s", "--functions",
     "LAeq=LAeq", "--functions", "Leq=Leq", "--align", "floor"},
    {"--instrument", "Pier 4", "--measurement", "noise", "--function", "Leq", "--wide"},
    {"--instrument", "Pier 4", "--measurement", "noise", "--function", "Leq", "--period", "125ms",
     "--encoding", "latin1", "--times", "dmy"},
    {"--instrument", "Pier 4", "--measurement", "noise", "--function", "Leq", "--period", "1min",
     "--zone", "Europe/Berlin"},
    {"--separator", "semicolon", "--heading", "2"},
    {"--instrument", "Pier 4", "--measurement", "noise", "--function", "Leq", "--period", "1s",
     "--start", "2026-11-15 07:30", "--missing", "NaN", "--decimal", "comma"},
}};

std::string Exported(const ScratchFile& database, const std::vector<std::string>& more) {
    std::vector<std::string> words{database.Path()};
    words.insert(words.end(), more.begin(), more.end());
    const Outcome outcome = Run("export", words);
    Require(outcome.status == 0, "what was imported can be exported", outcome.out);
    return outcome.out;
}

void CheckReadBack(const ScratchFile& first, const std::vector<std::string>& form) {
    static const std::string empty = EmptyDatabase();
    static const ScratchFile second("second.db"), exported("exported.csv");
    const std::string text = Exported(first, form);
    exported.Write(text);
    second.Write(empty);
    Require(Run("import", {second.Path(), exported.Path()}).status == 0,
            "what was exported can be imported", text);
    const std::string again = Exported(second, form);
    Require(again == text, "an export reads back", text + "\n--\n" + again);
}

void Check(const std::string& input) {
    static const std::string empty = EmptyDatabase(), good = GoodDatabase();
    static const ScratchFile database("first.db"), file("input.csv");
    if (input.empty()) return;
    const auto choice = static_cast<unsigned char>(input[0]);
    file.Write(input.substr(1));
    database.Write(choice & 8 ? good : empty);
    std::vector<std::string> words{database.Path(), file.Path()};
    const auto& options = kOptions[choice % kOptions.size()];
    words.insert(words.end(), options.begin(), options.end());
    if (Run("import", words).status != 0) return;
    Run("check", {database.Path()});
    CheckReadBack(database, {});
    // A wide file has no room for values without a number.
    if (choice & 16) Run("export", {database.Path(), "--wide"});
}

}  // namespace
}  // namespace mersola::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    mersola::fuzz::Check(mersola::fuzz::TextOf(data, size));
    return 0;
}
