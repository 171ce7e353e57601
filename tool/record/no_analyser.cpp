// mersola record in a build without the analyser.
#include "basics/failure.h"
#include "options/command.h"
#include "record.h"

namespace mersola::tool {

void AddRecord(CLI::App& app, const Streams&) {
    Command command(app, "record", "Not in this build, which has no analyser");
    command.TakesAnything();
    command.Run([] {
        throw Failure(
            "this build of mersola has no analyser and cannot record; take one that was built with "
            "MERSOLA_WITH_ANALYSER=ON");
    });
}

}  // namespace mersola::tool
