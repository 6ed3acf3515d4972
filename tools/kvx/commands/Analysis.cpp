// SPDX-License-Identifier: MIT
#include "commands/Analysis.h"

#include <nlohmann/json.hpp>
#include <utility>

#include <KvxDevCommon01/dsp/Windows.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/units/UnitQuery.h>

#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

using Json = nlohmann::ordered_json;

/// What `action` returns; an Error of it becomes a ValueError on behalf of the option.
template <class Action>
auto OfOption(const std::string& option, Action action) {
    try {
        return action();
    } catch (const Error& error) {
        throw ValueError(option + ": " + error.Sentence());
    }
}

/// The motion behind an acceleration as reports show it: in the channel's unit, mm/s and mm.
SpectrumMotion ShownMotion(const ChannelSpectrum& channel) {
    constexpr double kMillimetresPerMetre = 1000.0;
    const SpectrumMotion& motion = *channel.figures.motion;
    return {motion.fromHz, channel.channel.unit.ConvDtoI(motion.acceleration, 1.0, 0),
            motion.velocity * kMillimetresPerMetre, motion.displacement * kMillimetresPerMetre};
}

const CUnitCtrl& UnitOfLines(const RecordSpectra& record) {
    return record.channels.front().lines.unit;
}

Json JsonOf(const SpectrumMotion& motion) {
    return {{"fromHz", motion.fromHz}, {"acceleration", motion.acceleration}, {"velocity", motion.velocity},
            {"velocityUnit", "mm/s"},  {"displacement", motion.displacement}, {"displacementUnit", "mm"}};
}

Json JsonOf(const std::vector<SpectrumPeak>& peaks) {
    Json list = Json::array();
    for (const SpectrumPeak& peak : peaks) {
        list.push_back({{"hz", peak.hz}, {"level", peak.level}, {"q", nullptr}});
        if (peak.q) list.back()["q"] = *peak.q;
    }
    return list;
}

std::string JsonText(const SpectraOptions& options, const std::vector<RecordSpectra>& records) {
    Json json = JsonOf(options);
    json["records"] = Json::array();
    for (const RecordSpectra& spectra : records) {
        const LineSpectrum& lines = spectra.channels.front().lines;
        Json record = {{"record", spectra.record},
                       {"rate", spectra.rateHz},
                       {"lineSpacing", lines.spacingHz},
                       {"blocks", lines.blocks},
                       {"channels", Json::array()}};
        for (const ChannelSpectrum& channel : spectra.channels) {
            const SpectrumFigures& figures = channel.figures;
            Json shown = {{"channel", channel.channel.number},
                          {"name", ToUtf8(channel.channel.name)},
                          {"unit", JsonUnit(spectra.unit)},
                          {"rms", figures.rms},
                          {"levelUnit", JsonUnit(UnitOfLines(spectra))},
                          {"highestHz", figures.highestHz},
                          {"highestLevel", figures.highestLevel}};
            if (figures.motion) shown["motion"] = JsonOf(ShownMotion(channel));
            if (options.peaks > 0) shown["peaks"] = JsonOf(figures.peaks);
            record["channels"].push_back(std::move(shown));
        }
        json["records"].push_back(std::move(record));
    }
    return json.dump(2) + "\n";
}

/// The motion of the accelerations among the channels; nothing when there are none.
std::string MotionText(const RecordSpectra& record) {
    ChannelTable table({"acceleration", "", "velocity", "", "displacement", ""});
    double fromHz = 0.0;
    for (const ChannelSpectrum& channel : record.channels) {
        if (!channel.figures.motion) continue;
        const SpectrumMotion motion = ShownMotion(channel);
        fromHz = motion.fromHz;
        table.Add(channel.channel,
                  {FormatNumber(motion.acceleration), UnitText(record.unit), FormatNumber(motion.velocity),
                   "mm/s", FormatNumber(motion.displacement), "mm"});
    }
    if (table.IsEmpty()) return "";
    return "motion from " + FormatNumber(fromHz, 7) + " Hz on, rms\n" + table.Text();
}

std::string PeakText(const RecordSpectra& record) {
    ChannelTable table({"peak", "", "level", "", "Q"});
    for (const ChannelSpectrum& channel : record.channels) {
        for (const SpectrumPeak& peak : channel.figures.peaks) {
            table.Add(channel.channel,
                      {FormatNumber(peak.hz, 7), "Hz", FormatNumber(peak.level),
                       UnitText(UnitOfLines(record)), peak.q ? FormatNumber(*peak.q, 4) : "-"});
        }
    }
    return table.Text();
}

std::string ReportText(const SpectraOptions& options, const std::vector<RecordSpectra>& records) {
    std::string text;
    for (const RecordSpectra& record : records) {
        text += "record " + std::to_string(record.record) + ": " +
                BlocksText(options, record.channels.front().lines.blocks, record.rateHz) + "\n";
        ChannelTable table({"rms", "", "highest line", "", "level", ""});
        for (const ChannelSpectrum& channel : record.channels) {
            table.Add(channel.channel,
                      {FormatNumber(channel.figures.rms), UnitText(record.unit),
                       FormatNumber(channel.figures.highestHz, 7), "Hz",
                       FormatNumber(channel.figures.highestLevel), UnitText(UnitOfLines(record))});
        }
        text += table.Text() + MotionText(record);
        if (options.peaks > 0) text += PeakText(record);
    }
    return text;
}

}  // namespace

void AddWaveformInputs(Command& command, BatchOptions* batch) {
    AddInputs(command, "FILE", "Recordings of any format with time waveforms, of any length", batch);
}

std::unique_ptr<SignalReader> OpenWaveforms(const InputOptions& options, Progress& progress) {
    return OpenSignal(options.file, options.part, options.recording, false, progress);
}

void AddBlockOptions(Command command, BlockOptions* options) {
    command
        .AddOption("--block", options->size,
                   "Samples per block, a power of two from 2 to " + std::to_string(kLargestBlock))
        .Type("N")
        .Check(WholeNumber(kSmallestBlock, kLargestBlock))
        .ShowDefault();
    command.AddOption("--window", options->window, "Window: " + JoinList(WindowNames()))
        .Type("NAME")
        .Suggest(WindowNames())
        .ShowDefault();
    command.AddOption("--overlap", options->overlapPercent, "Overlap of the blocks in percent")
        .Type("PERCENT")
        .Check(FiniteNumber())
        .ShowDefault();
}

BlockPlan PlanBlocks(const BlockOptions& options) {
    OfOption("--block", [&] { RequireBlockSize(options.size); });
    return {OfOption("--overlap", [&] { return CutWithOverlap(options.size, options.overlapPercent); }),
            OfOption("--window", [&] { return MakeWindow(options.window, options.size); }), "--block"};
}

void AddLinesOutput(Command& command, BatchOptions* batch) {
    AddOutputOptions(command, "File for the lines, of several inputs a folder; else there is only a report",
                     RecordingFormats(), &batch->output);
    AddBatchOptions(command, batch);
}

void AddBandOptions(Command command, const std::string& figures, FrequencyBand* band) {
    command.AddOption("--from", band->fromHz, "Report " + figures + " from this frequency on")
        .Type("HZ")
        .Check(NonNegativeNumber());
    AddPositive(command, "--to", "HZ", band->toHz, "Report up to this frequency");
}

void AddJsonFlag(Command& command, LinesOptions* options) {
    command.AddFlag("--json", options->json, "Report as JSON, with all digits");
}

void RequireLinesOutput(const LinesOptions& options) {
    if (options.output.name.empty()) return;
    RequireAnotherFile(options.input.file, options.output.name);
    RecordingFormatOf(options.output);
}

Json JsonOf(const LinesOptions& options) {
    return {{"file", options.input.file},
            {"block", options.blocks.size},
            {"window", options.blocks.window},
            {"overlap", PlanBlocks(options.blocks).cut.overlap}};
}

std::string BlocksText(const LinesOptions& options, std::int64_t count, double rateHz) {
    const BlockOptions& blocks = options.blocks;
    std::string text = Count(count, "block") + " of " + std::to_string(blocks.size) + " at " +
                       FormatNumber(rateHz, 10) + " Hz, " + blocks.window + " window, line spacing " +
                       FormatNumber(rateHz / static_cast<double>(blocks.size), 10) + " Hz";
    const FrequencyBand& band = options.band;
    if (band.fromHz > 0.0 || band.toHz) text += ", band from " + FormatNumber(band.fromHz) + " Hz";
    return band.toHz ? text + " to " + FormatNumber(*band.toHz) + " Hz" : text;
}

ChannelTable::ChannelTable(const std::vector<std::string>& headings) : lines_({{"channel", "name"}}) {
    lines_.front().insert(lines_.front().end(), headings.begin(), headings.end());
}

void ChannelTable::Add(const SignalRun::Channel& channel, const std::vector<std::string>& figures) {
    std::vector<std::string>& line = lines_.emplace_back();
    line = {std::to_string(channel.number), ToUtf8(channel.name)};
    line.insert(line.end(), figures.begin(), figures.end());
}

std::string ChannelTable::Text() const {
    std::vector<Align> columns;
    for (const std::string& heading : lines_.front())
        columns.push_back(heading.empty() || heading == "name" ? Align::left : Align::right);
    return FormatTable(columns, lines_);
}

void AddSpectraOptions(Command& command, SpectraOptions* options, BatchOptions* batch) {
    AddWaveformInputs(command, batch);
    AddLinesOutput(command, batch);
    AddBlockOptions(command, &options->blocks);
    AddPartOptions(command, &options->input.part);
    AddBandOptions(command, "rms, highest line and peaks", &options->band);
    command.AddOption("--peaks", options->peaks, "Report this many of the highest peaks of each channel")
        .Type("N")
        .Check(WholeNumber(1, 65536));
    AddRecordingOptions(command, &options->input.recording);
    AddJsonFlag(command, options);
}

namespace {

void RunOne(const SpectraOptions& options, ByteStream& out) {
    RequireLinesOutput(options);
    const SpectraChoice choice = {options.kind,
                                  PlanBlocks(options.blocks),
                                  {options.band, options.peaks, options.cutoffHz},
                                  0.0,
                                  "--cutoff"};
    std::wstring text;
    const std::vector<RecordSpectra> records = AnalyseInput(options.input, [&](Progress& progress) {
        const std::unique_ptr<SignalReader> reader = OpenWaveforms(options.input, progress);
        text = reader->Text();
        return SpectraOf(*reader, choice, progress.Function());
    });
    StoreLines(options, text, records);
    WriteText(ReportStream(options.output.name, out),
              options.json ? JsonText(options, records) : ReportText(options, records));
}

}  // namespace

void RunSpectra(const SpectraOptions& options, const BatchOptions& batch, ByteStream& out) {
    RunLines(options, batch, RunOne, out);
}

}  // namespace kvx::tool
