// The tool where it was built without the analyser.
#include "tool_fixture.h"

namespace mersola::tool {
namespace {

TEST_F(Tool, SaysThatItWasBuiltWithoutTheAnalyser) {
    const std::string reason = "this build of mersola has no analyser";
    ExpectRefused({"record"}, reason);
    ExpectRefused({"record", db_, "1.wav", "--instrument", "a", "--hold", "1s"}, reason);
    ExpectRefused({"record", "--instrument", "a"}, reason);
    for (const char* option : {"--help", "--version"}) {
        const std::string outcome = Done({option});
        EXPECT_THAT(outcome, HasSubstr(option == std::string("--help") ? "no analyser"
                                                                       : "without analyser"));
    }
}

}  // namespace
}  // namespace mersola::tool
