// Databases, and what is chosen from them.
#include "command_options.h"

#include <CLI/Error.hpp>

namespace mersola::tool {

Option AddUser(Command& command, const std::string& prefix, std::string& user,
               const std::string& whose) {
    return command.Text("--" + prefix + "user", user, "Who logs in to a server" + whose);
}

Option AddPasswordFile(Command& command, const std::string& prefix, std::string& path,
                       const std::string& whose) {
    return command.Text("--" + prefix + "password-file", path,
                        "File with the password in its first line" + whose + " [ask for it]");
}

void AddDatabase(Command& command, DatabaseArgument& argument) {
    command.Text("DB", argument.text, std::string("The database: ") + kDatabase).Required();
    AddUser(command, "", argument.user, "");
    AddPasswordFile(command, "", argument.passwordFile, "");
}

Option AddSelection(Command& command, SelectionOptions& given) {
    command.Text("--instrument", given.instrument, "Name or number of the instrument").Required();
    const Option measurement =
        command.Text("--measurement", given.measurement, "Name or number of the measurement");
    const Option continuous = command.Flag("--continuous", given.isContinuous,
                                           "All measurements of the instrument, read as one");
    continuous.Excludes(measurement);
    command.Text("--report", given.report,
                 "Number of the report, with --continuous its type [the first]");
    command.Text("--channel", given.channel, "Number of the channel").Default(given.channel);
    return continuous;
}

void RequireMeasurement(const SelectionOptions& given) {
    if (given.measurement.empty() && !given.isContinuous)
        throw CLI::RequiredError("--measurement or --continuous");
}

}  // namespace mersola::tool
