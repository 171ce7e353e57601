// Commands for CLI11.
#include "command.h"

#include <CLI/CLI.hpp>

namespace mersola::tool {
namespace {

// An empty text would pass for one that is not given.
CLI::Option* NeverEmpty(CLI::Option* option) {
    return option->check(
        [](const std::string& text) { return text.empty() ? "must not be empty" : ""; });
}

}  // namespace

Option Option::Required() const {
    option_->required();
    return *this;
}

Option Option::Default(const std::string& text) const {
    option_->default_str(text);
    return *this;
}

Option Option::Needs(Option other) const {
    option_->needs(other.option_);
    return *this;
}

Option Option::Excludes(Option other) const {
    option_->excludes(other.option_);
    return *this;
}

Option Option::Check(const std::function<std::string(const std::string&)>& fault) const {
    option_->check(fault);
    return *this;
}

bool Option::IsGiven() const {
    return option_->count() > 0;
}

Command::Command(CLI::App& app, const char* name, const char* description)
    : command_(app.add_subcommand(name, description)) {}

Option Command::Text(const std::string& name, std::string& target, const std::string& description) {
    return Option(NeverEmpty(command_->add_option(name, target, description)));
}

Option Command::Text(const std::string& name, std::optional<std::string>& target,
                     const std::string& description) {
    return Taken(
        name, [&target](const std::string& text) { target = text; }, description);
}

Option Command::Texts(const std::string& name, std::vector<std::string>& target,
                      const std::string& description) {
    return Option(
        NeverEmpty(command_->add_option(name, target, description))->allow_extra_args(false));
}

Option Command::List(const std::string& name, std::vector<std::string>& target,
                     const std::string& description) {
    return Option(NeverEmpty(command_->add_option(name, target, description))
                      ->delimiter(',')
                      ->allow_extra_args(false));
}

Option Command::Flag(const std::string& name, bool& target, const std::string& description) {
    return Option(command_->add_flag(name, target, description));
}

void Command::TakesAnything() {
    command_->prefix_command();
}

void Command::Footer(const char* text) {
    command_->footer(text);
}

void Command::Run(const std::function<void()>& work) {
    command_->callback(work);
}

Option Command::Taken(const std::string& name, const std::function<void(const std::string&)>& take,
                      const std::string& description) {
    return Option(command_->add_option_function<std::string>(name, take, description));
}

}  // namespace mersola::tool
