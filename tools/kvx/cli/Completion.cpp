// SPDX-License-Identifier: MIT
#include <fmt/format.h>
#include <string>
#include <string_view>
#include <vector>

#include "cli/Pages.h"

namespace kvx::tool {
namespace {

/// A word of shell text in single quotes, in which only the quote itself means something.
std::string Quoted(std::string_view text) {
    std::string quoted = "'";
    for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

std::string Joined(const std::vector<std::string>& words, std::string_view separator = " ") {
    return fmt::format("{}", fmt::join(words, separator));
}

/// Values as one list of words, those that are more than one word left out.
std::string WordList(std::vector<std::string> values) {
    std::erase_if(values, [](const std::string& value) { return value.find(' ') != value.npos; });
    return Joined(values);
}

bool TakesFiles(const CommandDescription& command) {
    for (const OptionDescription& option : command.options)
        if (option.IsArgument() && option.TakesFile()) return true;
    return false;
}

std::vector<std::string> NamesOf(const std::list<CommandDescription>& commands) {
    std::vector<std::string> names;
    for (const CommandDescription& command : commands) names.push_back(command.name);
    return names;
}

/// What may stand where a command has no option to complete: names of commands within it, words, files.
std::vector<std::string> WordsOf(const CommandDescription& command) {
    std::vector<std::string> words = NamesOf(command.commands);
    for (const OptionDescription& option : command.options)
        if (option.IsArgument()) words.insert(words.end(), option.choices.begin(), option.choices.end());
    return words;
}

std::vector<std::string> OptionNames(const CommandDescription& command) {
    std::vector<std::string> names;
    for (const OptionDescription& option : command.options)
        names.insert(names.end(), option.names.begin(), option.names.end());
    names.insert(names.end(), {"-h", "--help"});
    return names;
}

// ---- zsh

/// Text within an argument of _arguments, where brackets and colons mean something.
std::string InArgumentText(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        if (std::string_view("\\[]:").find(c) != std::string_view::npos) escaped += '\\';
        escaped += c;
    }
    return escaped;
}

/// What _arguments offers for a value: ":HZ: ", ":FILE:_files", ":NAME:(hann flat-top)".
std::string ZshValue(const OptionDescription& option) {
    std::string action = " ";
    if (option.TakesFile()) action = "_files";
    if (!option.choices.empty()) action = "(" + InArgumentText(WordList(option.choices)) + ")";
    return ":" + InArgumentText(option.value) + ":" + action;
}

std::string ZshArguments(const CommandDescription& command) {
    std::string text = "_arguments -S";
    const auto add = [&text](const std::string& argument) { text += " \\\n            " + argument; };
    for (const OptionDescription& option : command.options) {
        if (option.IsArgument()) continue;
        const std::string about =
            "[" + InArgumentText(option.text) + "]" + (option.IsFlag() ? "" : ZshValue(option));
        for (const std::string& name : option.names) {
            const bool isLong = name.starts_with("--");
            add(Quoted(fmt::format("*{}{}{}", name, option.IsFlag() ? "" : isLong ? "=" : "+", about)));
        }
    }
    add(Quoted("(- *)-h[Print the help of the command]"));
    add(Quoted("(- *)--help[Print the help of the command]"));
    const std::vector<std::string> words = WordsOf(command);
    if (TakesFiles(command)) {
        add(Quoted("*:FILE:_files"));
    } else if (!words.empty()) {
        add(Quoted("1:WORD:(" + InArgumentText(WordList(words)) + ")"));
    }
    return text;
}

}  // namespace

std::string BashCompletion(const CommandDescription& tool) {
    // Of each command its options, its words, and "files" where it takes some; of each option that has a
    // value its words or "files".
    std::string commands, values;
    const auto describe = [&](const std::string& key, const CommandDescription& command) {
        commands += fmt::format("        {})\n            options={} words={} files={}\n            ;;\n",
                                key, Quoted(Joined(OptionNames(command))), Quoted(WordList(WordsOf(command))),
                                TakesFiles(command) ? "yes" : "no");
        for (const OptionDescription& option : command.options) {
            if (option.IsArgument() || option.IsFlag()) continue;
            std::vector<std::string> patterns;
            for (const std::string& name : option.names) patterns.push_back(fmt::format("{}:{}", key, name));
            values += fmt::format("        {})\n            options='' words={} files={}\n            ;;\n",
                                  Joined(patterns, " | "), Quoted(WordList(option.choices)),
                                  option.TakesFile() && option.choices.empty() ? "yes" : "no");
        }
    };
    describe("''", tool);
    for (const CommandDescription& command : tool.commands) describe(command.name, command);
    return fmt::format(R"(# bash completion for {0}; made by the tool itself.

_{0}() {{
    local current=${{COMP_WORDS[COMP_CWORD]}} previous=${{COMP_WORDS[COMP_CWORD - 1]}}
    local command='' options='' words='' files=no i
    # "--window=ha" comes as three words.
    if [[ $current == = ]]; then
        current=''
    elif [[ $previous == = ]]; then
        previous=${{COMP_WORDS[COMP_CWORD - 2]}}
    fi
    for ((i = 1; i < COMP_CWORD; ++i)); do
        if [[ ${{COMP_WORDS[i]}} != -* ]]; then
            command=${{COMP_WORDS[i]}}
            break
        fi
    done
    COMPREPLY=()
    case $command in
{1}        *) return ;;
    esac
    case $command:$previous in
{2}    esac
    if [[ $current == -* && -n $options ]]; then
        words=$options files=no
    fi
    if [[ $files == yes ]]; then
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    elif [[ -n $words ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
    fi
}}
complete -F _{0} {0}
)",
                       tool.name, commands, values);
}

std::string ZshCompletion(const CommandDescription& tool) {
    std::string commands, cases;
    for (const CommandDescription& command : tool.commands) {
        commands +=
            "        " + Quoted(InArgumentText(command.name) + ":" + InArgumentText(command.text)) + "\n";
        cases +=
            fmt::format("        {})\n            {}\n            ;;\n", command.name, ZshArguments(command));
    }
    return fmt::format(R"(#compdef {0}
# zsh completion for {0}; made by the tool itself.

_{0}() {{
    local curcontext=$curcontext state line
    local -a commands
    typeset -A opt_args
    commands=(
{1}    )
    _arguments -C \
        '(- *)-h[Print the help]' \
        '(- *)--help[Print the help]' \
        '--version[Tell the versions of the tool and of the libraries it runs with]' \
        '1:command:->command' \
        '*::argument:->argument' && return
    case $state in
        command)
            _describe -t commands command commands
            return
            ;;
    esac
    case ${{line[1]}} in
{2}    esac
}}

if [ "$funcstack[1]" = "_{0}" ]; then
    _{0} "$@"
else
    compdef _{0} {0}
fi
)",
                       tool.name, commands, cases);
}

std::string FishCompletion(const CommandDescription& tool) {
    std::string text = "# fish completion for " + tool.name + "; made by the tool itself.\n\ncomplete -c " +
                       tool.name + " -f\n";
    const auto complete = [&](const std::string& condition, const std::string& what) {
        text += fmt::format("complete -c {} -n {} {}\n", tool.name, Quoted(condition), what);
    };
    const auto describe = [&](const std::string& condition, const CommandDescription& command) {
        if (TakesFiles(command)) complete(condition, "-F");
        const std::vector<std::string> words = WordsOf(command);
        if (!words.empty() && &command != &tool) complete(condition, "-a " + Quoted(WordList(words)));
        for (const OptionDescription& option : command.options) {
            if (option.IsArgument()) continue;
            std::string what;
            for (const std::string& name : option.names) {
                what += name.starts_with("--") ? "-l " + name.substr(2) : "-s " + name.substr(1);
                what += " ";
            }
            if (!option.IsFlag()) what += option.TakesFile() && option.choices.empty() ? "-r -F " : "-x ";
            if (!option.choices.empty()) what += "-a " + Quoted(WordList(option.choices)) + " ";
            complete(condition, what + "-d " + Quoted(option.text));
        }
        complete(condition, "-s h -l help -d 'Print the help'");
    };
    describe("__fish_use_subcommand", tool);
    for (const CommandDescription& command : tool.commands) {
        complete("__fish_use_subcommand", "-a " + command.name + " -d " + Quoted(command.text));
        describe("__fish_seen_subcommand_from " + command.name, command);
    }
    return text;
}

}  // namespace kvx::tool
