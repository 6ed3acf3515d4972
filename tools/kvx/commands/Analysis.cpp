// SPDX-License-Identifier: MIT
#include "commands/Analysis.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include <KvxDevCommon01/dsp/AveragedSpectrum.h>
#include <KvxDevCommon01/files/SpectrumRecord.h>
#include <KvxDevCommon01/platform/Parallel.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/units/UnitQuery.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/Progress.h"
#include "cli/StandardStreams.h"

namespace kvx::tool {
namespace {

constexpr double kMillimetresPerMetre = 1000.0;

/// One analysed channel: what its lines say in the band of the options, in the units of the report.
struct ChannelReport {
    SignalRun::Channel channel;
    double rms = 0.0;
    double highestHz = 0.0;
    double highestLevel = 0.0;
    std::optional<SpectrumMotion> motion;
    std::vector<SpectrumPeak> peaks;
};

/// One analysed record.
struct RecordReport {
    std::size_t record = 0;  ///< from 1
    double rateHz = 0.0;
    double spacingHz = 0.0;
    std::int64_t blocks = 0;
    std::string unit;       ///< of the signal
    std::string levelUnit;  ///< of the lines
    std::vector<ChannelReport> channels;
};

/// What an analysis makes.
struct Results {
    std::wstring text;  ///< of the recording
    std::vector<CComDataBase> records;
    std::vector<RecordReport> reports;
};

nlohmann::ordered_json JsonOf(const SpectrumMotion& motion) {
    return {{"fromHz", motion.fromHz},
            {"acceleration", motion.acceleration},
            {"velocity", motion.velocity * kMillimetresPerMetre},
            {"velocityUnit", "mm/s"},
            {"displacement", motion.displacement * kMillimetresPerMetre},
            {"displacementUnit", "mm"}};
}

nlohmann::ordered_json JsonOf(const std::vector<SpectrumPeak>& peaks) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const SpectrumPeak& peak : peaks) {
        list.push_back({{"hz", peak.hz}, {"level", peak.level}, {"q", nullptr}});
        if (peak.q) list.back()["q"] = *peak.q;
    }
    return list;
}

nlohmann::ordered_json JsonOf(const AnalysisOptions& options, const std::vector<RecordReport>& reports) {
    nlohmann::ordered_json json = {{"file", options.input.file},
                                   {"block", options.blocks.size},
                                   {"window", options.blocks.window},
                                   {"overlap", PlanBlocks(options.blocks).cut.overlap},
                                   {"records", nlohmann::ordered_json::array()}};
    for (const RecordReport& report : reports) {
        nlohmann::ordered_json record = {{"record", report.record},
                                         {"rate", report.rateHz},
                                         {"lineSpacing", report.spacingHz},
                                         {"blocks", report.blocks},
                                         {"channels", nlohmann::ordered_json::array()}};
        for (const ChannelReport& channel : report.channels) {
            nlohmann::ordered_json figures = {{"channel", channel.channel.number},
                                              {"name", ToUtf8(channel.channel.name)},
                                              {"unit", report.unit},
                                              {"rms", channel.rms},
                                              {"levelUnit", report.levelUnit},
                                              {"highestHz", channel.highestHz},
                                              {"highestLevel", channel.highestLevel}};
            if (channel.motion) figures["motion"] = JsonOf(*channel.motion);
            if (options.peaks > 0) figures["peaks"] = JsonOf(channel.peaks);
            record["channels"].push_back(std::move(figures));
        }
        json["records"].push_back(std::move(record));
    }
    return json;
}

/// Throws Error when a signal does not fill a block, has no density or no line in the band.
void RequireLines(const SignalReader& reader, const AnalysisOptions& options, const BlockCut& cut) {
    for (const SignalRun& run : reader.Runs()) {
        RequireBlock(run, cut);
        options.band.Lines(RateOf(run) / static_cast<double>(cut.size), cut.size / 2);
    }
    for (const RunRecord& record : RecordsOf(reader.Runs())) {
        if (options.kind != LineKind::kDensity || DensityUnit(record.unit)) continue;
        throw Error(ErrorKind::kUnsupported, "the unit " + Quote(UnitText(record.unit)) + " of record " +
                                                 std::to_string(record.number) +
                                                 " is a compound, which has no density");
    }
}

/// The lines of one block of each channel.
std::vector<LineSpectrum> AnalyseBlock(SignalReader& reader, std::size_t r, double startSeconds,
                                       const BlockPlan& plan, Progress& progress) {
    const SignalRun& run = reader.Runs()[r];
    const double start = std::round(startSeconds * RateOf(run));
    if (!(start <= static_cast<double>(run.samples - plan.cut.size))) {
        throw Error(ErrorKind::kBadValue,
                    "no full block is left from " + FormatNumber(startSeconds) + " s on");
    }
    reader.Skip(r, static_cast<std::int64_t>(start));
    std::vector<std::vector<double>> blocks(run.channels.size());
    const auto append = [&](std::span<double* const> samples, std::size_t count) {
        for (std::size_t c = 0; c < blocks.size(); ++c)
            blocks[c].insert(blocks[c].end(), samples[c], samples[c] + count);
    };
    ReadRun(reader, r, append, progress.Function(), plan.cut.size);
    std::vector<LineSpectrum> spectra;
    for (std::size_t c = 0; c < blocks.size(); ++c)
        spectra.push_back(BlockLines(blocks[c], plan.window, RateOf(run), run.channels[c].unit));
    return spectra;
}

/// The averaged lines of each channel.
std::vector<LineSpectrum> AnalyseAll(SignalReader& reader, std::size_t r, LineKind kind,
                                     const BlockPlan& plan, Progress& progress) {
    const SignalRun& run = reader.Runs()[r];
    std::vector<AveragedSpectrum> averages;
    for (std::size_t c = 0; c < run.channels.size(); ++c)
        averages.emplace_back(plan.window, plan.cut.overlap);
    const auto add = [&](std::span<double* const> samples, std::size_t count) {
        ForEachInParallel(averages.size(), [&](std::size_t c) { averages[c].Add({samples[c], count}); });
    };
    ReadRun(reader, r, add, progress.Function());
    std::vector<LineSpectrum> spectra;
    for (std::size_t c = 0; c < averages.size(); ++c) {
        spectra.push_back((kind == LineKind::kDensity ? Densities : Amplitudes)(averages[c], RateOf(run),
                                                                                run.channels[c].unit));
    }
    return spectra;
}

ChannelReport Report(const SignalRun::Channel& channel, const LineSpectrum& spectrum, const LineBand& band,
                     const AnalysisOptions& options) {
    const std::vector<double> levels = spectrum.Levels();
    RequireNumbers(levels, channel.name);
    const std::int64_t highest = HighestLine(levels, band);
    const auto shown = [](const CUnitCtrl& unit, double value) { return unit.ConvDtoI(value, 1.0, 0); };
    ChannelReport report = {channel,
                            shown(channel.unit, BandRms(spectrum, band)),
                            spectrum.FrequencyOf(highest),
                            shown(spectrum.unit, levels[static_cast<std::size_t>(highest)]),
                            std::nullopt,
                            FindPeaks(spectrum, band, options.peaks)};
    for (SpectrumPeak& peak : report.peaks) peak.level = shown(spectrum.unit, peak.level);
    if (spectrum.kind == LineKind::kDensity && channel.unit.IsAcc()) {
        report.motion = MotionOf(spectrum, band, options.cutoffHz);
        if (report.motion) report.motion->acceleration = shown(channel.unit, report.motion->acceleration);
    }
    return report;
}

Results Analyse(SignalReader& reader, const AnalysisOptions& options, const BlockPlan& plan,
                Progress& progress) {
    RequireLines(reader, options, plan.cut);
    Results results;
    results.text = reader.Text();
    std::vector<LineSpectrum> spectra;
    std::size_t analysed = reader.Runs().size();  // the run of the spectra, at first none
    for (const RunRecord& record : RecordsOf(reader.Runs())) {
        const SignalRun& run = reader.Runs()[record.run];
        if (record.run != analysed) {
            analysed = record.run;
            spectra = options.kind == LineKind::kComplex
                          ? AnalyseBlock(reader, analysed, options.startSeconds, plan, progress)
                          : AnalyseAll(reader, analysed, options.kind, plan, progress);
        }
        RecordReport report = {record.number, RateOf(run), 0.0, 0, UnitText(record.unit), {}, {}};
        std::vector<LineSpectrum> rows;
        for (const std::size_t c : record.channels) {
            const LineBand band = options.band.Lines(spectra[c].spacingHz, std::ssize(spectra[c].real));
            report.channels.push_back(Report(run.channels[c], spectra[c], band, options));
            rows.push_back(std::move(spectra[c]));
        }
        report.spacingHz = rows.front().spacingHz;
        report.blocks = rows.front().blocks;
        report.levelUnit = UnitText(rows.front().unit);
        results.records.push_back(SpectrumRecord(rows, NamesOf(run, record.channels)));
        results.reports.push_back(std::move(report));
    }
    const auto hasMotion = [](const RecordReport& report) {
        return std::ranges::any_of(report.channels, [](const auto& channel) { return !!channel.motion; });
    };
    if (options.cutoffHz > 0.0 && std::ranges::none_of(results.reports, hasMotion)) {
        throw Error(ErrorKind::kBadValue, "--cutoff is for the motion of accelerations, which no channel is");
    }
    return results;
}

using Cells = std::vector<std::vector<std::string>>;

/// The motion of the accelerations among the channels, one line each; nothing when there are none.
std::string MotionTable(const RecordReport& report) {
    Cells lines = {{"channel", "name", "acceleration", "", "velocity", "", "displacement", ""}};
    double fromHz = 0.0;
    for (const ChannelReport& channel : report.channels) {
        if (!channel.motion) continue;
        fromHz = channel.motion->fromHz;
        lines.push_back({std::to_string(channel.channel.number), ToUtf8(channel.channel.name),
                         FormatNumber(channel.motion->acceleration), report.unit,
                         FormatNumber(channel.motion->velocity * kMillimetresPerMetre), "mm/s",
                         FormatNumber(channel.motion->displacement * kMillimetresPerMetre), "mm"});
    }
    if (lines.size() == 1) return "";
    return "motion from " + FormatNumber(fromHz, 7) + " Hz on, rms\n" +
           FormatTable({Align::right, Align::left, Align::right, Align::left, Align::right, Align::left,
                        Align::right, Align::left},
                       lines);
}

std::string PeakTable(const RecordReport& report) {
    Cells lines = {{"channel", "name", "peak", "", "level", "", "Q"}};
    for (const ChannelReport& channel : report.channels) {
        for (const SpectrumPeak& peak : channel.peaks) {
            lines.push_back({std::to_string(channel.channel.number), ToUtf8(channel.channel.name),
                             FormatNumber(peak.hz, 7), "Hz", FormatNumber(peak.level), report.levelUnit,
                             peak.q ? FormatNumber(*peak.q, 4) : "-"});
        }
    }
    return FormatTable(
        {Align::right, Align::left, Align::right, Align::left, Align::right, Align::left, Align::right},
        lines);
}

void WriteReport(ByteStream& out, const AnalysisOptions& options, const std::vector<RecordReport>& reports) {
    if (options.json) {
        WriteText(out, JsonOf(options, reports).dump(2) + "\n");
        return;
    }
    std::string text;
    for (const RecordReport& report : reports) {
        text += "record " + std::to_string(report.record) + ": " +
                BlocksText(options.blocks, report.blocks, report.rateHz) + BandText(options.band);
        Cells lines = {{"channel", "name", "rms", "", "highest line", "", "level", ""}};
        for (const ChannelReport& channel : report.channels) {
            lines.push_back({std::to_string(channel.channel.number), ToUtf8(channel.channel.name),
                             FormatNumber(channel.rms), report.unit, FormatNumber(channel.highestHz, 7), "Hz",
                             FormatNumber(channel.highestLevel), report.levelUnit});
        }
        text += "\n" + FormatTable({Align::right, Align::left, Align::right, Align::left, Align::right,
                                    Align::left, Align::right, Align::left},
                                   lines);
        text += MotionTable(report);
        if (options.peaks > 0) text += PeakTable(report);
    }
    WriteText(out, text);
}

}  // namespace

void AddAnalysisOptions(Command& command, AnalysisOptions* options) {
    AddInputFile(command, &options->input);
    AddLinesOutput(command, &options->output);
    AddBlockOptions(command, &options->blocks);
    AddChannelOptions(command, &options->input.channels);
    AddBandOptions(command, "rms, highest line and peaks", &options->band);
    command.AddOption("--peaks", options->peaks, "Report this many of the highest peaks of each channel")
        .Type("N")
        .Check(WholeNumber(1, 65536));
    AddRecordingOptions(command, &options->input.recording);
    command.AddFlag("--json", options->json, "Report as JSON, with all digits");
}

void RunAnalysis(const AnalysisOptions& options, ByteStream& out) {
    const std::string& input = options.input.file;
    RequireLinesOutput(input, options.output);
    const BlockPlan plan = PlanBlocks(options.blocks);
    Results results = Doing("analyse", input, [&] {
        Progress progress("analysing " + InputName(input));
        return Analyse(*OpenWaveforms(options.input, progress), options, plan, progress);
    });
    const std::string& output = options.output.name;
    if (!output.empty()) {
        Doing("write", output, [&] { StoreDataFile(output, results.text, std::move(results.records)); });
    }
    WriteReport(ReportStream(output, out), options, results.reports);
}

}  // namespace kvx::tool
