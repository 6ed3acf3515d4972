// SPDX-License-Identifier: MIT
//
// What the commands say of themselves, without the parser: manual pages and the completion of shells are made
// of it.
#pragma once

#include <list>
#include <string>
#include <string_view>
#include <vector>

namespace kvx::tool {

/// An option, a flag or a positional argument.
struct OptionDescription {
    std::vector<std::string> names = {};    ///< "-o", "--output"; none for an argument
    std::string value = {};                 ///< what stands for its value, "HZ"; none for a flag
    std::string text = {};                  ///< one paragraph
    std::string group = {};                 ///< title above it in the help; empty for the general ones
    std::string standard = {};              ///< the value without the option, where the help tells it
    std::vector<std::string> choices = {};  ///< values that are known by name
    bool isRequired = false;
    bool isMany = false;  ///< any number of values

    bool IsArgument() const { return names.empty(); }
    bool IsFlag() const { return value.empty(); }
    /// Whether the value is the name of a file.
    bool TakesFile() const { return value == "FILE" || value == "PROFILE"; }
};

/// A command; the tool itself is the one that holds the others.
struct CommandDescription {
    std::string name = {};
    std::string text = {};  ///< one line
    std::vector<std::string> paragraphs = {};
    std::vector<std::string> example = {};  ///< lines for a shell
    std::list<OptionDescription> options = {};
    std::list<CommandDescription> commands = {};
    std::string group = {};  ///< that of the option described next
};

/// The paragraphs of a raw string: blank lines separate them, other line ends are blanks.
std::vector<std::string> ParagraphsOf(std::string_view text);

/// The lines of a raw string without those that are empty at either end.
std::vector<std::string> LinesOf(std::string_view text);

}  // namespace kvx::tool
