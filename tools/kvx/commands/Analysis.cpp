// SPDX-License-Identifier: MIT
#include "commands/Analysis.h"

#include <cmath>
#include <nlohmann/json.hpp>
#include <utility>

#include <KvxDevCommon01/dsp/Averaging.h>
#include <KvxDevCommon01/dsp/Decibels.h>
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
            motion.velocity * kMillimetresPerMetre, motion.displacement * kMillimetresPerMetre,
            motion.lowestPart};
}

const CUnitCtrl& UnitOfLines(const RecordSpectra& record) {
    return record.channels.front().lines.unit;
}

const LineSpectrum& FirstLines(const RecordSpectra& record) {
    return record.channels.front().lines;
}

/// What levels of the record refer to, where they are in dB.
std::optional<LevelReference> ReferenceOf(const SpectraOptions& options, const RecordSpectra& record) {
    if (!options.isDecibel && options.decibelReference.empty()) return std::nullopt;
    return OfOption("--db-re", [&] { return NamedReference(options.decibelReference, record.unit); });
}

/// The limits of the chosen confidence, where there are any.
std::optional<ConfidenceLimits> LimitsOf(const SpectraOptions& options, const LineSpectrum& lines) {
    if (!options.confidencePercent || !lines.degreesOfFreedom) return std::nullopt;
    return ConfidenceOf(*lines.degreesOfFreedom, *options.confidencePercent / 100.0);
}

/// A level with its unit: in that of the lines, or in dB.
std::vector<std::string> LevelCells(double level, const LineSpectrum& lines,
                                    const std::optional<LevelReference>& reference) {
    if (reference) return {FormatNumber(DecibelsOf(lines, level, *reference), 5), "dB"};
    return {FormatNumber(level), UnitText(lines.unit)};
}

std::vector<std::string> RmsCells(double rms, const CUnitCtrl& unit,
                                  const std::optional<LevelReference>& reference) {
    if (reference) return {FormatNumber(DecibelsOfRms(unit, rms, *reference), 5), "dB"};
    return {FormatNumber(rms), UnitText(unit)};
}

/// A number that JSON has, null for the infinite level of nothing.
Json JsonNumber(double value) {
    return std::isfinite(value) ? Json(value) : Json(nullptr);
}

/// How the blocks were averaged and what that means, in a line of its own.
std::string AverageText(const SpectraOptions& options, const RecordSpectra& record) {
    const LineSpectrum& lines = FirstLines(record);
    const Averaging& averaging = record.blocks.averaging;
    std::string text;
    if (averaging.mode == AverageMode::kExponential) {
        text = "exponential average, weight " + FormatNumber(averaging.weight, 4) + ", ";
    } else if (averaging.mode != AverageMode::kLinear) {
        text = std::string(NameOf(averaging.mode)) + ", ";
    }
    if (averaging.detrend == Detrend::kMean) text += "mean of each block taken out, ";
    if (averaging.detrend == Detrend::kLinear) text += "line of each block taken out, ";
    if (averaging.transformSize > 0)
        text += "zeros up to " + std::to_string(averaging.transformSize) + " samples, ";
    text += "noise bandwidth " + FormatNumber(lines.noiseBandwidth, 5) +
            (lines.noiseBandwidth == 1.0 ? " line or " : " lines or ") +
            FormatNumber(lines.noiseBandwidth * lines.spacingHz, 5) + " Hz";
    if (lines.degreesOfFreedom)
        text += ", " + FormatNumber(*lines.degreesOfFreedom, 4) + " degrees of freedom";
    if (const std::optional<ConfidenceLimits> limits = LimitsOf(options, lines)) {
        text += ", " + FormatNumber(*options.confidencePercent) + " % limits " +
                FormatNumber(10.0 * std::log10(limits->lower), 3) + " to +" +
                FormatNumber(10.0 * std::log10(limits->upper), 3) + " dB";
    }
    if (lines.decayPerSecond > 0.0)
        text += ", the window adds a decay of " + FormatNumber(lines.decayPerSecond, 5) +
                " 1/s, freed of which Q is";
    return text + "\n";
}

/// Told of a displacement that is most of it in the lowest lines: what an offset leaves there.
constexpr double kTellingPart = 0.5;

Json JsonOf(const SpectrumMotion& motion) {
    return {{"fromHz", motion.fromHz},
            {"acceleration", motion.acceleration},
            {"velocity", motion.velocity},
            {"velocityUnit", "mm/s"},
            {"displacement", motion.displacement},
            {"displacementUnit", "mm"},
            {"lowestPart", motion.lowestPart}};
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
        const LineSpectrum& lines = FirstLines(spectra);
        const Averaging& averaging = spectra.blocks.averaging;
        const std::optional<LevelReference> reference = ReferenceOf(options, spectra);
        Json record = {{"record", spectra.record},
                       {"rate", spectra.rateHz},
                       {"lineSpacing", lines.spacingHz},
                       {"blocks", lines.blocks},
                       {"block", spectra.blocks.cut.size},
                       {"overlap", spectra.blocks.cut.overlap},
                       {"average", NameOf(averaging.mode)},
                       {"detrend", NameOf(averaging.detrend)},
                       {"noiseBandwidth", lines.noiseBandwidth},
                       {"degreesOfFreedom", nullptr}};
        if (averaging.mode == AverageMode::kExponential) record["weight"] = averaging.weight;
        if (averaging.transformSize > 0) record["transform"] = averaging.transformSize;
        if (lines.degreesOfFreedom) record["degreesOfFreedom"] = *lines.degreesOfFreedom;
        if (const std::optional<ConfidenceLimits> limits = LimitsOf(options, lines)) {
            record["confidence"] = {{"percent", *options.confidencePercent},
                                    {"lowerFactor", limits->lower},
                                    {"upperFactor", limits->upper}};
        }
        if (lines.decayPerSecond > 0.0) record["windowDecay"] = lines.decayPerSecond;
        if (reference) record["decibelReference"] = reference->text;
        record["channels"] = Json::array();
        for (const ChannelSpectrum& channel : spectra.channels) {
            const SpectrumFigures& figures = channel.figures;
            Json shown = {{"channel", channel.channel.number},
                          {"name", ToUtf8(channel.channel.name)},
                          {"unit", JsonUnit(spectra.unit)},
                          {"rms", figures.rms},
                          {"levelUnit", JsonUnit(UnitOfLines(spectra))},
                          {"highestHz", figures.highestHz},
                          {"highestLevel", figures.highestLevel}};
            if (reference) {
                shown["rmsDecibels"] = JsonNumber(DecibelsOfRms(spectra.unit, figures.rms, *reference));
                shown["highestDecibels"] =
                    JsonNumber(DecibelsOf(channel.lines, figures.highestLevel, *reference));
            }
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
    std::string telling;  // channels whose displacement is that of the lowest lines
    double fromHz = 0.0;
    for (const ChannelSpectrum& channel : record.channels) {
        if (!channel.figures.motion) continue;
        const SpectrumMotion motion = ShownMotion(channel);
        fromHz = motion.fromHz;
        if (motion.lowestPart > kTellingPart)
            telling += (telling.empty() ? "" : ", ") + std::to_string(channel.channel.number);
        table.Add(channel.channel,
                  {FormatNumber(motion.acceleration), UnitText(record.unit), FormatNumber(motion.velocity),
                   "mm/s", FormatNumber(motion.displacement), "mm"});
    }
    if (table.IsEmpty()) return "";
    std::string text = "motion from " + FormatNumber(fromHz, 7) + " Hz on, rms\n" + table.Text();
    if (telling.empty()) return text;
    const bool isDetrended = record.blocks.averaging.detrend != Detrend::kNone;
    return text + "channel " + telling + ": the three lowest lines hold most of the displacement; " +
           (isDetrended ? "" : "take out the mean with --detrend mean, or ") + "cut them off with --cutoff\n";
}

std::string PeakText(const RecordSpectra& record, const std::optional<LevelReference>& reference) {
    ChannelTable table({"peak", "", "level", "", "Q"});
    for (const ChannelSpectrum& channel : record.channels) {
        for (const SpectrumPeak& peak : channel.figures.peaks) {
            const std::vector<std::string> level = LevelCells(peak.level, channel.lines, reference);
            table.Add(channel.channel, {FormatNumber(peak.hz, 7), "Hz", level[0], level[1],
                                        peak.q ? FormatNumber(*peak.q, 4) : "-"});
        }
    }
    return table.Text();
}

std::string ReportText(const SpectraOptions& options, const std::vector<RecordSpectra>& records) {
    std::string text;
    for (const RecordSpectra& record : records) {
        const std::optional<LevelReference> reference = ReferenceOf(options, record);
        text += "record " + std::to_string(record.record) + ": " +
                BlocksText(options, record.blocks, FirstLines(record).blocks, record.rateHz) + "\n" +
                AverageText(options, record);
        if (reference) text += "levels in dB re " + reference->text + "\n";
        ChannelTable table({"rms", "", "highest line", "", "level", ""});
        for (const ChannelSpectrum& channel : record.channels) {
            const std::vector<std::string> rms = RmsCells(channel.figures.rms, record.unit, reference);
            const std::vector<std::string> level =
                LevelCells(channel.figures.highestLevel, channel.lines, reference);
            table.Add(channel.channel,
                      {rms[0], rms[1], FormatNumber(channel.figures.highestHz, 7), "Hz", level[0], level[1]});
        }
        text += table.Text() + MotionText(record);
        if (options.peaks > 0) text += PeakText(record, reference);
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
                   "Samples per block, a power of two from 2 to " + std::to_string(kLargestBlock) +
                       " (default: " + std::to_string(BlockOptions::kUsualSize) + ")")
        .Type("N")
        .Check(WholeNumber(kSmallestBlock, kLargestBlock));
    AddPositive(command, "--df", "HZ", options->spacingHz,
                "Instead of --block: the smallest blocks whose lines are at most this far apart");
    command
        .AddOption("--window", options->window,
                   "Window, some with numbers behind a colon: " + JoinList(WindowNames()) +
                       "; 'kvx windows' tells about them")
        .Type("NAME")
        .Suggest(WindowNames())
        .ShowDefault();
    command.AddOption("--overlap", options->overlapPercent, "Overlap of the blocks in percent")
        .Type("PERCENT")
        .Check(FiniteNumber())
        .ShowDefault();
    command
        .AddOption("--detrend", options->detrend,
                   "Take this out of each block: mean, or linear for the straight line of least squares")
        .OneOf(DetrendNames())
        .ShowDefault();
}

BlockPlan PlanBlocks(const BlockOptions& options, Averaging averaging) {
    averaging.detrend = NamedDetrend(options.detrend);
    if (options.spacingHz && options.size) throw ValueError("--df chooses the block; leave out --block");
    const std::int64_t size = options.Size();
    const std::int64_t points = averaging.transformSize;
    if (points == 0) {
        OfOption("--block", [&] { RequireBlockSize(size); });
    } else {
        if (options.spacingHz) throw ValueError("--pad goes with --block, not with --df");
        OfOption("--pad", [&] { RequireCut({size, 0}, points); });
    }
    BlockPlan plan = {
        OfOption("--overlap", [&] { return CutWithOverlap(size, options.overlapPercent, points); }),
        OfOption("--window", [&] { return MakeWindow(options.window, size); }), "--block"};
    plan.averaging = averaging;
    plan.windowText = options.window;
    plan.overlapPercent = options.overlapPercent;
    if (options.spacingHz) {
        plan.spacingHz = *options.spacingHz;
        plan.sizeName = "block, or a larger --df";
    }
    return plan;
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
    const BlockOptions& blocks = options.blocks;
    Json json = {{"file", options.input.file}};
    if (blocks.spacingHz) {
        json["mostSpacing"] = *blocks.spacingHz;
    } else {
        json["block"] = blocks.Size();
    }
    json["window"] = blocks.window;
    if (!blocks.spacingHz) {
        const double size = static_cast<double>(blocks.Size());
        json["overlap"] = std::llround(size * blocks.overlapPercent / 100.0);
    }
    return json;
}

std::string BlocksText(const LinesOptions& options, const BlockPlan& blocks, std::int64_t count,
                       double rateHz) {
    const std::int64_t points =
        blocks.averaging.transformSize > 0 ? blocks.averaging.transformSize : blocks.cut.size;
    std::string text = Count(count, "block") + " of " + std::to_string(blocks.cut.size) + " at " +
                       FormatNumber(rateHz, 10) + " Hz, " + options.blocks.window + " window, line spacing " +
                       FormatNumber(rateHz / static_cast<double>(points), 10) + " Hz";
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

namespace {

void AddAverageOptions(Command& command, SpectraOptions* options) {
    AverageOptions& average = options->average;
    command
        .AddOption(
            "--average", average.mode,
            "What the blocks become: their mean, an exponential mean, or the highest or lowest of each line")
        .OneOf(AverageModeNames())
        .ShowDefault();
    AddPositive(command, "--weight", "PART", average.weight,
                "Of the newest block in an exponential average, up to 1 (default: 0.125)");
    AddPositive(command, "--time-constant", "S", average.timeConstantSeconds,
                "Instead of --weight: the time in which an exponential average forgets to 1/e");
    command
        .AddOption("--pad", average.transformSize,
                   "Put zeros behind each block, of any size, up to this power of two")
        .Type("N")
        .Check(WholeNumber(kSmallestBlock, kLargestBlock));
    command.AddFlag("--nyquist", average.hasMiddleLine, "Keep the line at half the rate");
    AddPositive(command, "--confidence", "PERCENT", options->confidencePercent,
                "State the limits of this confidence, 90 for example");
    command.AddFlag("--db", options->isDecibel,
                    "Report levels in dB, re the reference of ISO 1683; what is written stays linear");
    command
        .AddOption("--db-re", options->decibelReference,
                   "Report levels in dB re this amplitude, '1 g' for example")
        .Type("LEVEL");
}

/// Throws ValueError.
BlockPlan PlanAverage(const SpectraOptions& options) {
    const AverageOptions& average = options.average;
    Averaging averaging;
    averaging.mode = NamedAverageMode(average.mode);
    averaging.transformSize = average.transformSize;
    averaging.hasMiddleLine = average.hasMiddleLine;
    const bool isExponential = averaging.mode == AverageMode::kExponential;
    if (!isExponential && (average.weight || average.timeConstantSeconds))
        throw ValueError("--weight and --time-constant are for --average exponential");
    if (average.weight && average.timeConstantSeconds)
        throw ValueError("--time-constant makes the weight; leave out --weight");
    if (average.weight && *average.weight > 1.0)
        throw ValueError("--weight: the newest block weighs at most 1");
    if (options.confidencePercent && *options.confidencePercent >= 100.0)
        throw ValueError("--confidence: a confidence is below 100 %");
    averaging.weight = average.weight.value_or(averaging.weight);
    BlockPlan plan = PlanBlocks(options.blocks, averaging);
    plan.timeConstantSeconds = average.timeConstantSeconds.value_or(0.0);
    return plan;
}

}  // namespace

void AddSpectraOptions(Command& command, SpectraOptions* options, BatchOptions* batch) {
    AddWaveformInputs(command, batch);
    AddLinesOutput(command, batch);
    AddBlockOptions(command, &options->blocks);
    AddAverageOptions(command, options);
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
    const SpectraChoice choice = {
        options.kind, PlanAverage(options), {options.band, options.peaks, options.cutoffHz}, 0.0, "--cutoff"};
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
