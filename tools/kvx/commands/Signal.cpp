// SPDX-License-Identifier: MIT
#include "commands/Signal.h"

#include <filesystem>

#include <KvxDevCommon01/platform/Text.h>
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

RecordingStatements StatementsOf(const std::string& path, const RecordingOptions& options) {
    RecordingStatements stated;
    stated.rateHz = options.rateHz;
    stated.fullScale = options.fullScale;
    stated.isPartial = options.isPartial;
    if (options.time != "auto") stated.text.firstColumnIsTime = options.time == "first";
    stated.text.decimalComma = options.decimal == "comma";
    stated.text.codePage = CodePageOf(options.encoding);
    stated.text.encodingName = "--encoding";
    stated.source = FromUtf8(std::filesystem::path(SourceText(path)).filename().string()).value_or(L"");
    stated.called = OptionNames(options);
    if (!options.units.empty()) {
        for (const std::string& unit : SplitList(options.units))
            stated.units.push_back(RequireEntryUnit(unit));
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

/// Opens a signal and tells its remarks.
template <typename Open>
std::unique_ptr<SignalReader> Opened(Open open) try {
    std::unique_ptr<SignalReader> reader = open();
    for (const std::string& remark : reader->Remarks()) Note(remark);
    return reader;
} catch (const StatementError& error) {
    throw ValueError(error.Sentence());
}

}  // namespace

void AddPartOptions(Command command, PartOptions* options) {
    command
        .AddOption("--channels", options->channels,
                   "Channels by name, number or range of numbers as 'kvx info' shows them: 1,3-4,top")
        .Type("LIST");
    AddRangeOptions(command, options);
}

void AddRangeOptions(Command command, PartOptions* options) {
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
}

void AddRecordingOptions(Command& command, RecordingOptions* options) {
    command
        .AddOption(options->rateName, options->rateHz,
                   "True sampling rate; without it that of the sound file or the time column")
        .Type("HZ")
        .Check(PositiveNumber());
    command
        .AddOption(options->unitName, options->units,
                   "Unit of the values, one for all channels or a list: g,g,N")
        .Type("LIST");
    command.AddOption("--name", options->names, "Names of the channels: top,base").Type("LIST");
    command
        .AddOption("--sensitivity", options->sensitivities,
                   "What the sensors give, one for all channels or a list: '100 mV/g,2.3 mV/N'")
        .Type("LIST");
    command
        .AddOption("--gain", options->gains,
                   "By what amplifiers multiplied the signals, one for all or a list")
        .Type("LIST");
    command
        .AddOption("--full-scale", options->fullScale,
                   "What full scale of a sound file stands for, in its unit")
        .Type("VALUE")
        .Check(PositiveNumber());
    command.AddOption("--time", options->time, "Where a text has the time: in its first column or nowhere")
        .Type("WHICH")
        .OneOf({"auto", "first", "none"});
    command.AddOption("--decimal", options->decimal, "Decimal mark of a text; a comma then separates nothing")
        .Type("MARK")
        .OneOf({"auto", "comma"});
    command
        .AddOption("--encoding", options->encoding,
                   "Encoding of a text; without it UTF-8 or what a byte-order mark says")
        .Type("NAME")
        .OneOf(EncodingNames());
    command.AddFlag("--partial", options->isPartial, "Take a sound file that is cut short as far as it goes");
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
            .partial = "--partial",
            .time = "--time",
            .decimal = "--decimal",
            .record = "--record"};
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
    return Opened([&] {
        return OpenPart(open, {part.start, part.end, "--start", "--end"}, progress.Function());
    });
}

}  // namespace kvx::tool
