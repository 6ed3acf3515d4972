// SPDX-License-Identifier: MIT
#include <fmt/format.h>
#include <algorithm>
#include <array>
#include <cctype>
#include <string>
#include <string_view>

#include <KvxDevCommon01/platform/Version.h>
#include <KvxDevCommon01/text/PlainText.h>

#include "cli/Pages.h"

namespace kvx::tool {
namespace {

/// Text as the formatter prints it: each sign as itself, also in the hands of a shell.
std::string Escaped(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
            case '\\':
                escaped += "\\e";
                break;
            case '-':
                escaped += "\\-";
                break;
            case '\'':
                escaped += "\\(aq";
                break;
            case '`':
                escaped += "\\(ga";
                break;
            case '^':
                escaped += "\\(ha";
                break;
            case '~':
                escaped += "\\(ti";
                break;
            default:
                escaped += c;
        }
    }
    // A point at the start of a line would begin a macro.
    return escaped.starts_with('.') ? "\\&" + escaped : escaped;
}

/// A paragraph in lines of the source.
std::string Filled(const std::string& text) {
    constexpr std::size_t kWidth = 72;
    std::string filled;
    for (const std::string& line : LinesOf(Wrapped(text, kWidth))) filled += Escaped(line) + "\n";
    return filled;
}

std::string Bold(std::string_view text) {
    return "\\fB" + Escaped(text) + "\\fR";
}

std::string Italic(std::string_view text) {
    return "\\fI" + Escaped(text) + "\\fR";
}

std::string Head(const std::string& page, const std::string& text, const std::string& date) {
    std::string capitals = page;
    std::ranges::transform(capitals, capitals.begin(), [](unsigned char c) { return std::toupper(c); });
    std::string summary = text;
    summary[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(summary[0])));
    while (summary.ends_with('.')) summary.pop_back();
    return fmt::format(".TH {} 1 {} \"kvx {}\" \"Vibration recordings\"\n.SH NAME\n{} \\- {}\n",
                       Escaped(capitals), date, kVersion, Escaped(page), Escaped(summary));
}

/// "kvx psd [OPTIONS] FILE ..."
std::string Synopsis(const std::string& words, const CommandDescription& command) {
    std::string line = Bold(words);
    if (!command.options.empty()) line += " [" + Italic("OPTIONS") + "]";
    for (const OptionDescription& option : command.options) {
        if (!option.IsArgument()) continue;
        const std::string value = Italic(option.value) + (option.isMany ? " ..." : "");
        line += option.isRequired ? " " + value : " [" + value + "]";
    }
    return line + "\n";
}

std::string Paragraphs(const CommandDescription& command) {
    std::string text;
    for (const std::string& paragraph : command.paragraphs) text += ".PP\n" + Filled(paragraph);
    return text;
}

/// One tagged paragraph per option, arguments first, groups with a title last.
std::string Options(const CommandDescription& command) {
    std::string arguments, options, grouped, group;
    for (const OptionDescription& option : command.options) {
        std::string tag;
        for (const std::string& name : option.names) tag += (tag.empty() ? "" : ", ") + Bold(name);
        if (!option.value.empty()) tag += (tag.empty() ? "" : " ") + Italic(option.value);
        std::string text = option.text;
        // Where the text does not list the values itself.
        std::string list;
        for (const std::string& choice : option.choices) {
            if (text.find(choice) == text.npos) list += (list.empty() ? "" : ", ") + choice;
        }
        if (!list.empty() && option.choices.size() < 20) {
            text += ". One of ";
            for (std::size_t i = 0; i < option.choices.size(); ++i)
                text += (i > 0 ? ", " : "") + option.choices[i];
        }
        if (!option.standard.empty()) text += " (default: " + option.standard + ")";
        if (!option.group.empty() && option.group != group)
            grouped += ".SS " + Escaped(group = option.group) + "\n";
        std::string& part = option.IsArgument() ? arguments : option.group.empty() ? options : grouped;
        part += ".TP\n" + tag + "\n" + Filled(text + ".");
    }
    options += ".TP\n" + Bold("-h") + ", " + Bold("--help") + "\nPrint the help of the command and exit.\n";
    return arguments + options + grouped;
}

std::string Example(const CommandDescription& command) {
    std::string text = ".PP\n.nf\n.RS\n";
    for (const std::string& line : command.example) text += Escaped(line) + "\n";
    return text + ".RE\n.fi\n";
}

struct Named {
    std::string_view name;
    std::string_view text;
};

constexpr std::array kVariables = {
    Named{"KVX_LANGUAGE",
          "Language of names of units, dimensions and kinds of files: ja or en. Without it that of "
          "the locale (LC_ALL, LC_MESSAGES, LANG); English unless the locale is Japanese."},
    Named{"KVX_THREADS", "Number of threads that work on the channels of a recording."},
    Named{"KVX_KERNELS", "Set of inner loops: baseline, avx2 or avx512, as far as the processor has it."},
    Named{"KVX_CODEPAGE", "System code page, by which texts that are not UTF-8 are read: 932 without it."},
    Named{"SystemDrive", "Folder below which the suite's own folders are."},
    Named{"TMPDIR", "Folder of temporary files."},
    Named{"COLUMNS", "Width of help texts."},
};

constexpr std::array kStatuses = {
    Named{"0", "The work is done."},
    Named{"1", "It failed; one sentence on standard error says why."},
    Named{"2",
          "The command line is not one of the tool's: a command or an option that there is not, or one that "
          "is missing."},
    Named{"3", "What was measured is out of its limits (kvx compare)."},
};

template <typename Table>
std::string Section(const std::string& title, const Table& table) {
    std::string text = ".SH " + title + "\n";
    for (const Named& row : table) text += ".TP\n" + Bold(row.name) + "\n" + Filled(std::string(row.text));
    return text;
}

std::string PageOf(const CommandDescription& tool, const CommandDescription& command) {
    return tool.name + "-" + command.name;
}

}  // namespace

std::string ManualOfTool(const CommandDescription& tool, const std::string& date) {
    std::string text = Head(tool.name, tool.text, date) + ".SH SYNOPSIS\n" + Bold(tool.name) + " " +
                       Italic("COMMAND") + " [" + Italic("OPTIONS") + "] ...\n.SH DESCRIPTION\n" +
                       Filled(tool.text) + Paragraphs(tool) + ".SH COMMANDS\n";
    for (const CommandDescription& command : tool.commands) {
        text += ".TP\n.BR " + Escaped(PageOf(tool, command)) + " (1)\n" + Filled(command.text + ".");
    }
    text += ".SH OPTIONS\n" + Options(tool) + Section("ENVIRONMENT", kVariables) +
            Section("EXIT STATUS", kStatuses);
    return text;
}

std::string ManualOfCommand(const CommandDescription& tool, const CommandDescription& command,
                            const std::string& date) {
    const std::string words = tool.name + " " + command.name;
    std::string text =
        Head(PageOf(tool, command), command.text, date) + ".SH SYNOPSIS\n" + Synopsis(words, command);
    for (const CommandDescription& inner : command.commands)
        text += ".br\n" + Synopsis(words + " " + inner.name, inner);
    text += ".SH DESCRIPTION\n" + Escaped(command.text) + ".\n" + Paragraphs(command);
    text += ".SH OPTIONS\n" + Options(command);
    for (const CommandDescription& inner : command.commands) {
        text += ".SS " + Escaped(words + " " + inner.name) + "\n" + Escaped(inner.text) + ".\n" +
                Paragraphs(inner) + Options(inner);
    }
    if (!command.example.empty()) text += ".SH EXAMPLES\n" + Example(command).substr(4);
    text += Section("EXIT STATUS", kStatuses);
    return text + ".SH SEE ALSO\n.BR " + Escaped(tool.name) + " (1)\n";
}

}  // namespace kvx::tool
