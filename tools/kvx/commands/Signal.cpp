// SPDX-License-Identifier: MIT
#include "commands/Signal.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>

#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/NearNames.h>
#include <KvxRecording01/Formats.h>
#include <KvxRecording01/SignalPart.h>
#include <KvxRecording01/TextLines.h>

#include "cli/Failure.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/StandardStreams.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

struct SeparatorName {
    std::string_view name;
    char separator;
};
constexpr std::array kSeparators = {
    SeparatorName{"auto", 0},        SeparatorName{"comma", ','}, SeparatorName{"semicolon", ';'},
    SeparatorName{"tab", '\t'},      SeparatorName{"blank", ' '}, SeparatorName{"pipe", '|'},
    SeparatorName{"ampersand", '&'}, SeparatorName{"colon", ':'},
};

/// A separator by its name or as it is.
char SeparatorOf(const std::string& text) {
    const auto row = std::ranges::find(kSeparators, text, &SeparatorName::name);
    if (row != kSeparators.end()) return row->separator;
    if (text.size() == 1) return text.front();
    throw ValueError("--separator: " + NoSuchName(text, NameList(kSeparators)));
}

TextOptions TextOptionsOf(const RecordingOptions& options) {
    TextOptions text;
    const bool isColumn = options.time != "auto" && options.time != "first" && options.time != "none";
    if (isColumn) {
        text.axisColumn = FromUtf8(options.time).value_or(L"");
        if (text.axisColumn.empty()) throw ValueError("--time names no column");
    } else if (options.time != "auto") {
        text.firstColumnIsTime = options.time == "first";
    }
    if (!options.axis.empty())
        text.axis = options.axis == "time" ? CUnitCtrl::DIM_TIME : CUnitCtrl::DIM_FREQUENCY;
    text.spacing = options.spacing;
    text.keepsUneven = options.keepsUneven;
    text.separator = SeparatorOf(options.separator);
    text.skippedLines = static_cast<std::size_t>(options.skippedLines.value_or(0.0));
    text.comments = options.comments.value_or(text.comments);
    if (options.missing) text.missing = SplitList(*options.missing);
    text.decimalComma = options.decimal == "comma";
    if (!options.dates.empty())
        text.dateOrder = options.dates == "day" ? DateOrder::dayFirst : DateOrder::monthFirst;
    text.codePage = CodePageOf(options.encoding);
    text.encodingName = "--encoding";
    return text;
}

RecordingStatements StatementsOf(const std::string& path, const RecordingOptions& options) {
    RecordingStatements stated;
    stated.rateHz = options.rateHz;
    stated.fullScale = options.fullScale;
    stated.isPartial = options.isPartial;
    stated.text = TextOptionsOf(options);
    stated.source = FromUtf8(std::filesystem::path(SourceText(path)).filename().string()).value_or(L"");
    stated.called = OptionNames(options);
    if (!options.units.empty()) {
        for (const std::string& unit : SplitList(options.units)) {
            stated.units.emplace_back();
            if (!unit.empty()) stated.units.back() = RequireEntryUnit(unit);
        }
    }
    if (!options.sensitivities.empty()) {
        for (const std::string& text : SplitList(options.sensitivities)) {
            try {
                stated.sensitivities.push_back(ParseSensitivity(text));
            } catch (const Error& error) {
                throw ValueError("--sensitivity: " + error.Sentence());
            }
        }
    }
    if (!options.gains.empty()) {
        for (const std::string& gain : SplitList(options.gains)) stated.gains.push_back(ParseArgument(gain));
    }
    if (!options.names.empty()) {
        for (const std::string& name : SplitList(options.names)) {
            stated.names.push_back(FromUtf8(name).value_or(L""));
            if (stated.names.back().empty())
                throw ValueError("the name " + Quote(name) + " is empty or not UTF-8");
        }
    }
    return stated;
}

constexpr const char* kPartTitle = "Part of the recording";

}  // namespace

void AddPartOptions(Command command, PartOptions* options) {
    command.BeginGroup(kPartTitle);
    AddList(command, "--channels", options->channels,
            "Channels by number, range, name or pattern as 'kvx info' shows them: 1,3-4,top,acc*");
    AddRangeOptions(command, options);
}

void AddRangeOptions(Command command, PartOptions* options) {
    command.BeginGroup(kPartTitle);
    command.AddOption("--record", options->record, "Only the channels of this record, counted from 1")
        .Type("N")
        .Check(WholeNumber(1, 1'000'000));
    command
        .AddOption("--start", options->start,
                   "Only what lies from here on: seconds, of lines the unit of their axis")
        .Type("PLACE")
        .Check(FiniteNumber());
    command.AddOption("--end", options->end, "Only what lies before here")
        .Type("PLACE")
        .Check(FiniteNumber());
    command.BeginGroup("");
}

void AddRecordingOptions(Command& command, RecordingOptions* options) {
    command.BeginGroup("What a file does not say");
    AddPositive(command, options->rateName, "HZ", options->rateHz,
                "True sampling rate; without it that of the sound file or the time column");
    AddList(
        command, options->unitName, options->units,
        "Unit of the values, one for all channels or a list: g,g,N; an empty item leaves that of the file");
    AddList(command, "--name", options->names, "Names of the channels: top,base");
    AddList(command, "--sensitivity", options->sensitivities,
            "What the sensors give, one for all channels or a list: '100 mV/g,2.3 mV/N'");
    AddList(command, "--gain", options->gains,
            "By what amplifiers multiplied the signals, one for all or a list");
    AddPositive(command, "--full-scale", "VALUE", options->fullScale,
                "What full scale of a sound file stands for, in its unit");
    command.AddFlag("--partial", options->isPartial, "Take a sound file that is cut short as far as it goes");
    command.BeginGroup("How a text table is written");
    command
        .AddOption("--time", options->time,
                   "Where a text has the time or another axis: first, none, or a column by number or heading")
        .Type("WHICH")
        .Suggest({"first", "none"});
    command.AddOption("--axis", options->axis, "What the axis of a text is; else what its heading says")
        .Type("KIND")
        .OneOf({"time", "frequency"});
    AddPositive(command, "--spacing", "VALUE", options->spacing,
                "Distance of samples, in s or Hz, of a text without a column for its axis");
    command.AddFlag("--uneven", options->keepsUneven, "Keep times of a text that are not evenly spaced");
    command
        .AddOption(
            "--separator", options->separator,
            "What separates the columns of a text: comma, semicolon, tab, blank, pipe, or the sign itself")
        .Type("SIGN")
        .Suggest(NameList(kSeparators));
    command.AddOption("--skip", options->skippedLines, "Lines at the start of a text to pass over")
        .Type("N")
        .Check(WholeNumber(0, 1'000'000'000));
    command.AddOption("--comment", options->comments, "Signs that begin a comment line of a text (default #)")
        .Type("SIGNS");
    AddList(command, "--missing", options->missing,
            "Texts that stand for a missing value beside an empty field, which is one alone: NA,-999");
    command.AddOption("--decimal", options->decimal, "Decimal mark of a text; a comma then separates nothing")
        .Type("MARK")
        .OneOf({"auto", "comma"});
    command.AddOption("--dates", options->dates, "What dates of a text such as 03/04/2024 begin with")
        .Type("PART")
        .OneOf({"day", "month"});
    command
        .AddOption("--encoding", options->encoding,
                   "Encoding of a text; without it UTF-8 or what a byte-order mark says")
        .Type("NAME")
        .OneOf(EncodingNames());
    command.BeginGroup("");
}

bool IsDataFile(const std::string& input) {
    return RecognizeFile(InputPath(input)).format == Format::dataFile;
}

StatementNames OptionNames(const RecordingOptions& options) {
    return {.any = "options",
            .rate = options.rateName,
            .units = options.unitName,
            .names = "--name",
            .sensitivities = "--sensitivity",
            .gains = "--gain",
            .fullScale = "--full-scale",
            .samples = "--samples",
            .partial = "--partial",
            .time = "--time",
            .decimal = "--decimal",
            .record = "--record",
            .separator = "--separator",
            .skip = "--skip",
            .comment = "--comment",
            .axis = "--axis",
            .spacing = "--spacing",
            .uneven = "--uneven",
            .missing = "--missing",
            .dates = "--dates"};
}

void RequireNothingStated(const RecordingOptions& options) {
    kvx::RequireNothingStated(StatementsOf("", options));
}

std::unique_ptr<SignalReader> OpenSignal(const std::string& path, const PartOptions& part,
                                         const RecordingOptions& options, bool isForSound, Progress& progress,
                                         const SignalKinds& kinds) {
    const std::string file = InputPath(path);
    RecordingStatements stated = StatementsOf(path, options);
    if (isForSound && !IsSound(RecognizeFile(file).format)) stated.fullScale.reset();
    const auto open = [&] {
        return kvx::OpenSignal(file, {part.channels, part.record}, stated, progress.Function(), kinds);
    };
    std::unique_ptr<SignalReader> reader =
        OpenPart(open, {part.start, part.end, "--start", "--end"}, progress.Function());
    for (const std::string& remark : reader->Remarks()) Note(remark);
    return reader;
}

}  // namespace kvx::tool
