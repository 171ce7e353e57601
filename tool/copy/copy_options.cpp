// The options of mersola copy.
#include "copy.h"

#include <memory>

#include "options/command_options.h"

namespace mersola::tool {

void AddCopy(CLI::App& app, const Streams& streams) {
    const auto given = std::make_shared<CopyOptions>();
    Command command(app, "copy", "Copy measurements into another database");
    command.Text("FROM", given->from.text, std::string("The source: ") + kDatabase).Required();
    command.Text("TO", given->to.text, "The target, likewise; it must be laid out").Required();
    command.Text("--instrument", given->instrument,
                 "Name or number of the only instrument to copy [all]");
    command.Flag("--verify", given->verify,
                 "Then read all of it again, and compare value by value");
    AddUser(command, "", given->from.user, "");
    AddPasswordFile(command, "", given->from.passwordFile, "");
    const Option user =
        AddUser(command, "to-", given->to.user, ", where that of TO is another one");
    const Option file = AddPasswordFile(command, "to-", given->to.passwordFile, ", likewise");
    command.Run([=] {
        if (!user.IsGiven() && !file.IsGiven()) {
            given->to.user = given->from.user;
            given->to.passwordFile = given->from.passwordFile;
        }
        Copy(*given, streams.out, streams.terminal);
    });
    command.Footer(
        "Only what TO lacks is copied, a source that is still being recorded up to now: the same "
        "command\n"
        "goes on after an interruption, and brings what is new another time. Instruments and "
        "measurements\n"
        "are the same when their names are. An instrument and a name that TO has stay as they are "
        "there;\n"
        "the settings of a measurement follow the source. The version history is not copied.");
}

}  // namespace mersola::tool
