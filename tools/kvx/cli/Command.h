// SPDX-License-Identifier: MIT
//
// How a command describes itself to the parser of the command line, and to manual pages and shells. The
// parser's own header takes seconds to compile, so that only the sources behind this front include it.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI
namespace kvx {
class ByteStream;
}

namespace kvx::tool {

struct CommandDescription;
struct OptionDescription;

/// Runs a command, which prints to the given stream.
using Action = std::function<void(ByteStream& out)>;

/// What a person is told of an option's text that will not do ("'abc' is not a number"); empty when it will.
using Complaint = std::function<std::string(const std::string& text)>;

/// An option or positional argument as it is described; the parser owns it.
class Option {
public:
    Option(CLI::Option* option, OptionDescription* description)
        : option_(option), description_(description) {}

    Option& Required();
    /// What stands for the value in the help: "HZ".
    Option& Type(const std::string& name);
    /// Each time that the option is given, so many values follow. For a vector of strings.
    Option& Values(int count);
    /// Of an argument: any number of values, one or more. For a vector of strings.
    Option& Many();
    Option& Check(const Complaint& complaint);
    /// Lets the help list these values and refuses all others.
    Option& OneOf(const std::vector<std::string>& values);
    /// Lets shells complete the value by these. They are refused, if at all, by the command.
    Option& Suggest(const std::vector<std::string>& values);
    /// Lets the help tell the value that the target has now.
    Option& ShowDefault();

private:
    CLI::Option* option_;
    OptionDescription* description_;
};

/// A command as it is described; the parser owns it. Targets must live until the command line was parsed.
class Command {
public:
    /// `description` keeps what is described; `action` receives what OnRun is given for the command that the
    /// command line names.
    Command(CLI::App* app, CommandDescription* description, Action* action)
        : app_(app), description_(description), action_(action) {}

    Command AddCommand(const std::string& name, const std::string& description);
    /// An option "-o,--output" or an argument "FILE". Targets are strings, numbers, both of them optional, or
    /// a vector of strings for an option that may be repeated.
    template <typename Target>
    Option AddOption(const std::string& names, Target& target, const std::string& description);
    Option AddFlag(const std::string& name, bool& target, const std::string& description);
    /// The help shows what is described from here on below a title of its own; an empty one ends that.
    void BeginGroup(const std::string& title);
    /// What the help ends with: paragraphs that are wrapped, then the lines of an example that are not.
    /// Either may be a raw string with line ends around it.
    void SetFooter(std::string_view paragraphs, std::string_view example);
    void OnRun(Action action);

private:
    OptionDescription* Describe(const std::string& names, const std::string& value, const std::string& text);

    CLI::App* app_;
    CommandDescription* description_;
    Action* action_;
};

}  // namespace kvx::tool
