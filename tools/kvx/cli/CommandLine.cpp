// SPDX-License-Identifier: MIT
#include "cli/CommandLine.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iterator>
#include <new>
#include <nlohmann/json.hpp>
#include <ranges>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxDevCommon01/platform/FileException.h>
#include <KvxDevCommon01/platform/Interrupts.h>
#include <KvxDevCommon01/platform/Version.h>
#include <KvxDevCommon01/resources/Language.h>
#include <KvxDevCommon01/text/NearNames.h>
#include <KvxPlot01/LibraryVersions.h>
#include <KvxRecording01/LibraryVersions.h>

#include "cli/Description.h"
#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Help.h"
#include "cli/Output.h"
#include "cli/Pages.h"
#include "cli/Progress.h"
#include "cli/StandardStreams.h"
#include "commands/Commands.h"

namespace kvx::tool {
namespace {

int Report(const std::string& sentence, ExitStatus status) {
    Complain(sentence);
    return status;
}

/// A complaint about the command line as a sentence that points to the help of the command it is about; of
/// "help" to that of the tool, which lists the commands.
int ReportUsage(const CLI::App& app, std::string complaint, ExitStatus status) {
    std::string command;
    for (auto commands = app.get_subcommands(); !commands.empty();
         commands = commands.front()->get_subcommands())
        if (commands.front()->get_name() != "help") command += " " + commands.front()->get_name();
    while (complaint.ends_with('\n') || complaint.ends_with('.')) complaint.pop_back();
    return Report(fmt::format("{}; see 'kvx{} --help'", complaint, command), status);
}

std::vector<std::string> CommandNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command :
         app.get_subcommands([](const CLI::App* each) { return !each->get_group().empty(); }))
        names.push_back(command->get_name());
    return names;
}

/// What the field calls the work of a command.
struct OtherWord {
    std::string_view word;
    std::string_view command;
};
constexpr std::array kOtherWords = {
    OtherWord{"asd", "psd"},           OtherWord{"coherence", "xfr"},
    OtherWord{"decimate", "resample"}, OtherWord{"downsample", "resample"},
    OtherWord{"fft", "spectrum"},      OtherWord{"frf", "xfr"},
    OtherWord{"generate", "synth"},    OtherWord{"highpass", "filter"},
    OtherWord{"join", "merge"},        OtherWord{"lowpass", "filter"},
    OtherWord{"rename", "edit"},       OtherWord{"show", "info"},
    OtherWord{"stft", "spectrogram"},  OtherWord{"transfer", "xfr"},
    OtherWord{"welch", "psd"},
};

/// The sentence for a word that names no command of the application.
std::string NoSuchCommand(const CLI::App& app, const std::string& words, const std::string& word) {
    const auto other = std::ranges::find(kOtherWords, word, &OtherWord::word);
    std::vector<std::string> names = CommandNames(app);
    if (other != kOtherWords.end() && std::ranges::count(names, other->command) > 0)
        return fmt::format("there is no command {} (did you mean '{}'?)", Quote(words), other->command);
    return fmt::format("there is no command {}{}", Quote(words), DidYouMean(word, names));
}

/// What is wrong with the arguments that no option of the command has taken; empty when there are none.
std::string ExplainExtras(const CLI::App& app) {
    const auto commands = app.get_subcommands();
    const CLI::App& command = commands.empty() ? app : *commands.front();
    std::vector<std::string> extras = app.remaining(true);
    const auto end = std::ranges::find(extras, "--");  // behind it stand values, however they begin
    for (auto extra = extras.begin(); extra != end; ++extra) {
        if (extra->size() < 2 || !extra->starts_with('-')) continue;
        const std::string name = extra->substr(0, extra->find('='));
        std::vector<std::string> options;
        for (const CLI::Option* option : command.get_options()) {
            for (const std::string& known : option->get_lnames()) options.push_back("--" + known);
        }
        return fmt::format("there is no option {}{}", Quote(name), DidYouMean(name, options));
    }
    if (end != extras.end()) extras.erase(end);
    if (extras.empty()) return {};
    // The name of a command within the command was taken for a value of it.
    for (const CLI::Option* option : command.get_options()) {
        if (!option->get_positional() || option->count() == 0) continue;
        const std::string& value = option->results().front();
        const std::string near = DidYouMean(value, CommandNames(command));
        if (near.empty()) continue;
        const std::string words = fmt::format("{} {}", command.get_name(), value);
        return fmt::format("there is no command {}{}", Quote(words), near);
    }
    return fmt::format("the argument {} is one too many", Quote(extras.front()));
}

/// The parser would only say that something was not expected.
void RequireCommand(const CLI::App& app, int argc, const char* const* argv) {
    if (argc < 2) throw UsageError("a command is missing");
    const std::string first = argv[1];
    const auto named =
        app.get_subcommands([&](const CLI::App* command) { return command->check_name(first); });
    if (!first.starts_with('-') && named.empty()) {
        std::error_code ignored;
        const std::string sentence = NoSuchCommand(app, first, first);
        throw UsageError(!std::filesystem::is_regular_file(first, ignored)
                             ? sentence
                             : fmt::format("{}; 'kvx info {}' tells what the file holds", sentence, first));
    }
}

/// "--rate is to be followed by HZ", of the parser's "--rate: 1 required HZ missing".
std::string MissingValues(const std::string& complaint) {
    const std::string_view middle = " required ", end = " missing";
    const std::size_t name = complaint.find(": "), values = complaint.find(middle);
    if (name == complaint.npos || values == complaint.npos || !complaint.ends_with(end)) return complaint;
    const std::size_t first = values + middle.size();
    return fmt::format("{} is to be followed by {}", complaint.substr(0, name),
                       complaint.substr(first, complaint.size() - end.size() - first));
}

/// A help text in which single empty lines part the groups of options.
std::string WithSingleGaps(std::string help) {
    for (std::size_t gap; (gap = help.find("\n\n\n")) != help.npos;) help.erase(gap, 1);
    return help;
}

/// The help of the command that the words name, or of the tool.
std::string HelpOn(const CLI::App& app, const std::vector<std::string>& words) {
    const CLI::App* command = &app;
    std::string name = app.get_name();
    for (const std::string& word : words) {
        const auto named =
            command->get_subcommands([&](const CLI::App* each) { return each->check_name(word); });
        name += " " + word;
        if (named.empty()) {
            throw UsageError(NoSuchCommand(*command, name.substr(name.find(' ') + 1), word));
        }
        command = named.front();
    }
    return WithSingleGaps(command->get_formatter()->make_help(command, name, CLI::AppFormatMode::Normal));
}

/// The version of the tool, what it computes with, and the libraries of others that it runs with.
std::string VersionText(bool asJson) {
    std::vector<LibraryVersion> libraries = RecordingLibraries();
    std::ranges::move(plot::PlotLibraries(), std::back_inserter(libraries));
    if (asJson) {
        nlohmann::ordered_json json = {{"version", RunningVersion()}, {"kernels", KernelSetInUse()}};
        for (const LibraryVersion& library : libraries) json["libraries"][library.name] = library.version;
        return json.dump(2) + "\n";
    }
    std::vector<std::vector<std::string>> lines = {{"kernels", std::string(KernelSetInUse())}};
    for (const LibraryVersion& library : libraries) lines.push_back({library.name, library.version});
    return fmt::format("kvx {}\n{}", RunningVersion(), FormatTable({Align::left, Align::left}, lines));
}

/// The language of names and messages: that of KVX_LANGUAGE, else of the locale.
void ChooseLanguage() {
    const char* const wanted = std::getenv("KVX_LANGUAGE");
    if (wanted != nullptr && *wanted != '\0' && !FindLanguage(wanted))
        Note(fmt::format("KVX_LANGUAGE: there is no language {}, only ja and en", Quote(wanted)));
    SetLanguage(HostLanguage());
}

}  // namespace

int RunCommandLine(int argc, const char* const* argv) {
    CommandDescription description = {
        .name = "kvx",
        .text = "Converts, describes and analyses recordings of vibration, of any format and length.",
        .paragraphs = {"'kvx help COMMAND' tells more about a command and ends with an example. A file "
                       "called - is standard input or standard output."}};
    CLI::App app(description.text, description.name);
    app.get_formatter()->column_width(28);
    app.footer(Wrapped(description.paragraphs.front(), HelpWidth()));
    Action action;
    Command tool(&app, &description, &action);
    bool isVersionWanted = false, isJsonWanted = false;
    tool.AddFlag("--version", isVersionWanted,
                 "Tell the versions of the tool and of the libraries it runs with");
    tool.AddFlag("--json", isJsonWanted, "With --version: as JSON");
    for (const auto add : {AddImport,  AddExport,      AddConvert,  AddMerge,  AddEdit,      AddInfo,
                           AddStats,   AddPsd,         AddSpectrum, AddXfr,    AddBands,     AddLevels,
                           AddSrs,     AddShock,       AddFilter,   AddDesign, AddCalibrate, AddResample,
                           AddPlot,    AddSpectrogram, AddSynth,    AddPulse,  AddProfile,   AddCompare,
                           AddFormats, AddUnits,       AddWindows,  AddKinds,  AddShowValue, AddFolders}) {
        add(tool);
    }
    std::vector<std::string> helpWords;
    Command help = tool.AddCommand("help", "Tell more about a command");
    help.AddOption("COMMAND", helpWords, "The command").Many().Suggest(CommandNames(app));
    help.OnRun([&](ByteStream& stream) { WriteText(stream, HelpOn(app, helpWords)); });
    // For the build, which installs the pages.
    std::string pagesFolder;
    CLI::App* const pages = app.add_subcommand("write-pages", "Write manual pages and completions of shells");
    pages->group("");
    pages->add_option("FOLDER", pagesFolder)->required();
    pages->callback([&] { action = [&](ByteStream&) { WritePages(description, pagesFolder); }; });

    ChooseLanguage();
    // A file that grows beyond the limit set for it is a failed write, not the end of the process.
    std::signal(SIGXFSZ, SIG_IGN);
    RemoveUnfinishedFilesOnSignals(Progress::ClearLine);

    try {
        try {
            RequireCommand(app, argc, argv);
            app.parse(argc, argv);
        } catch (const CLI::CallForHelp&) {
            action = [&](ByteStream& stream) { WriteText(stream, WithSingleGaps(app.help())); };
        }
        if (isVersionWanted)
            action = [&](ByteStream& stream) { WriteText(stream, VersionText(isJsonWanted)); };
        if (!action) throw UsageError("a command is missing");
        action(StandardOutput());
        return kDone;
    } catch (const CLI::ValidationError& error) {
        return ReportUsage(app, error.what(), kFailed);
    } catch (const CLI::ConversionError& error) {
        return ReportUsage(app, error.what(), kFailed);
    } catch (const ValueError& error) {
        return ReportUsage(app, error.what(), kFailed);
    } catch (const CLI::ArgumentMismatch& error) {
        return ReportUsage(app, MissingValues(error.what()), kWrongUsage);
    } catch (const CLI::ParseError& error) {
        // An unknown option comes before one that is missing, which its value may have been meant for.
        const std::string extras = ExplainExtras(app);
        return ReportUsage(app, extras.empty() ? error.what() : extras, kWrongUsage);
    } catch (const UsageError& error) {
        return ReportUsage(app, error.what(), kWrongUsage);
    } catch (const OutOfLimits& result) {
        return Report(result.what(), kOutOfLimits);
    } catch (const Failure& failure) {
        return Report(failure.what(), kFailed);
    } catch (const CFileException& error) {
        // Every file is opened on behalf of a sentence of its own; what is left is standard output.
        return Report("cannot write to standard output: " + Explain(Error(error)), kFailed);
    } catch (const std::exception&) {
        return Report(Error::Current().what(), kFailed);
    }
}

}  // namespace kvx::tool
