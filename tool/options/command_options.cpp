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

void AddTimeout(Command& command, DatabaseArgument& argument) {
    constexpr long most = 24 * 60 * 60;
    command.Parsed(
        "--timeout", argument.timeout,
        [](const std::string& text) { return ParseWithin(text, 1L, most); },
        "a number of seconds from 1 to 86400",
        "Seconds to wait while another program writes [10, on a server 60]");
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

void AddPeriods(Command& command, AskedPeriods& given) {
    command.Parsed(
        "--from", given.from, ParsePeriodOrTime,
        "a number from 0, nor a time, as '2026-11-15 07:30:12.045' or 2026-11-15",
        "The first period, or a time: those that begin then or later [the first stored]");
    const Option to = command.Parsed("--to", given.to, ParseTimeOrDate, kTimeOrDateForm,
                                     "A time: those that begin before then [all]");
    command
        .Parsed("--count", given.count, ParseCount<1>, "a number from 1", "How many periods [all]")
        .Excludes(to);
}

void RequireForward(const std::optional<CTimeEx>& from, const std::optional<CTimeEx>& to) {
    if (from && to && (*to - *from).GetTotalMilliseconds() <= 0)
        throw CLI::ValidationError("--to: " + TimeText(*to) + " does not lie behind --from");
}

void RequireForward(const AskedPeriods& given) {
    const auto* time = given.from ? std::get_if<CTimeEx>(&*given.from) : nullptr;
    if (time) RequireForward(*time, given.to);
}

void RequireMeasurement(const SelectionOptions& given) {
    if (given.measurement.empty() && !given.isContinuous)
        throw CLI::RequiredError("--measurement or --continuous");
}

}  // namespace mersola::tool
