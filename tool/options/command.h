// A command as it is declared: its options, its help and what it does. The parser of the command
// line takes long to compile; who declares commands sees nothing of it.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "basics/failure.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace mersola::tool {

/// An option or argument of a command. Operations that return one return the same again.
class Option {
  public:
    explicit Option(CLI::Option* option) : option_(option) {}

    Option Required() const;
    /// What the help shows as its default.
    Option Default(const std::string& text) const;
    /// Is refused without the other one,
    Option Needs(Option other) const;
    /// or along with it.
    Option Excludes(Option other) const;
    /// `fault`: says what is wrong with a text, nothing of a good one.
    Option Check(const std::function<std::string(const std::string&)>& fault) const;

    bool IsGiven() const;

  private:
    CLI::Option* option_;
};

class Command {
  public:
    Command(CLI::App& app, const char* name, const char* description);

    /// Targets are set before the command runs, and have to live until then. A name without dashes
    /// is that of an argument. An empty text is refused,
    Option Text(const std::string& name, std::string& target, const std::string& description);
    /// except by what tells it from none.
    Option Text(const std::string& name, std::optional<std::string>& target,
                const std::string& description);
    /// Given several times.
    Option Texts(const std::string& name, std::vector<std::string>& target,
                 const std::string& description);
    /// Given with commas between the texts.
    Option List(const std::string& name, std::vector<std::string>& target,
                const std::string& description);
    Option Flag(const std::string& name, bool& target, const std::string& description);
    /// A text that is parsed into the target; `form`: what the text has to be.
    template <class Target, class Parse>
    Option Parsed(const std::string& name, Target& target, Parse parse, const char* form,
                  const std::string& description) {
        return Taken(
                   name, [&target, parse](const std::string& text) { target = *parse(text); },
                   description)
            .Check([=](const std::string& text) {
                return parse(text) ? std::string() : Quoted(text) + " is not " + form;
            });
    }

    /// Takes whatever follows its name, unread.
    void TakesAnything();
    /// What the help ends with.
    void Footer(const char* text);
    void Run(const std::function<void()>& work);

  private:
    Option Taken(const std::string& name, const std::function<void(const std::string&)>& take,
                 const std::string& description);

    CLI::App* command_;
};

}  // namespace mersola::tool
