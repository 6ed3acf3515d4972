// SPDX-License-Identifier: MIT
#include "commands/Analysis.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <nlohmann/json.hpp>
#include <utility>

#include <KvxDevCommon01/dsp/MatWIND.h>
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/platform/Text.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/Progress.h"
#include "cli/StandardStreams.h"
#include "commands/LineFigures.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

/// One analysed channel: what its lines say in the band of the options.
struct ChannelReport {
    Channel channel;
    double rms = 0.0;
    double highestHz = 0.0;
    double highestLevel = 0.0;
    std::optional<Motion> motion;  ///< in the units of the report
    std::vector<Peak> peaks;
};

/// One analysed record.
struct RecordReport {
    std::size_t record = 0;  ///< 0-based
    double rateHz = 0.0;
    double spacingHz = 0.0;
    __int64 blocks = 0;
    std::string unit;       ///< of the signal
    std::string levelUnit;  ///< of the lines
    std::vector<ChannelReport> channels;
};

/// The chosen waveforms; throws Error when one does not fill a block.
std::vector<ChosenWaveforms> SelectSources(const DataFileContent& content, const AnalysisOptions& options) {
    std::vector<ChosenWaveforms> sources = SelectWaveforms(content, options.channels);
    for (const ChosenWaveforms& source : sources) RequireBlock(*source.record, options.blocks);
    return sources;
}

nlohmann::ordered_json JsonOf(const Motion& motion) {
    return {{"fromHz", motion.fromHz},
            {"acceleration", motion.acceleration},
            {"velocity", motion.velocity * kMillimetresPerMetre},
            {"velocityUnit", "mm/s"},
            {"displacement", motion.displacement * kMillimetresPerMetre},
            {"displacementUnit", "mm"}};
}

nlohmann::ordered_json JsonOf(const std::vector<Peak>& peaks) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const Peak& peak : peaks) {
        list.push_back({{"hz", peak.hz}, {"level", peak.level}, {"q", nullptr}});
        if (peak.q) list.back()["q"] = *peak.q;
    }
    return list;
}

nlohmann::ordered_json JsonOf(const AnalysisOptions& options, const std::vector<RecordReport>& reports) {
    nlohmann::ordered_json json = {{"file", options.input},
                                   {"block", options.blocks.size},
                                   {"window", options.blocks.window},
                                   {"overlap", OverlapSamples(options.blocks)},
                                   {"records", nlohmann::ordered_json::array()}};
    for (const RecordReport& report : reports) {
        nlohmann::ordered_json record = {{"record", report.record + 1},
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

/// The lines of one record as a record of their own, and what the report says of them.
struct Analysed {
    CComDataBase lines;
    RecordReport report;
};

Analysed Analyse(const ChosenWaveforms& source, const AnalysisOptions& options, const LineMethod& method,
                 Progress& progress) {
    const CComDataBase& record = *source.record;
    const std::size_t index = source.channels.front().record;
    const std::optional<CUnitCtrl> unit = method.unitOf(record.GetUnit());
    if (!unit) {
        throw Error(ErrorKind::kBadValue, "the unit " + Quote(UnitText(record.GetUnit())) + " of record " +
                                              std::to_string(index + 1) +
                                              " is a compound, which has no density");
    }
    const CDataArrayDouble window = MakeWindow(options.blocks);
    double bandwidth = 0.0;
    CMatWIND::CalcWindENBW(window, &bandwidth, nullptr);
    const __int64 lines = options.blocks.size / 2;
    const double rateHz = RateOf(record);
    const double spacingHz = rateHz / static_cast<double>(options.blocks.size);
    const Band band = BandLines(options.band, spacingHz, lines);

    const CStringArray names = NamesOf(source.channels);
    Analysed result;
    result.lines.Create(spacingHz, std::ssize(names), 1, lines, 0, method.isComplex, SingleUnit(kAxisHertz),
                        *unit, &names, nullptr);
    result.report = {index, rateHz, spacingHz, 0, UnitText(record.GetUnit()), UnitText(*unit), {}};
    for (const Channel& channel : source.channels) {
        const auto row = static_cast<__int64>(result.report.channels.size());
        double* real = result.lines.GetReal(row, 0);
        double* imaginary = result.lines.GetImaginary(row, 0);
        if (real == nullptr) throw std::bad_alloc();
        const CDataArrayDouble samples = StandardSamples(record, channel);
        result.report.blocks =
            method.calculate({samples, rateHz, window, OverlapSamples(options.blocks)}, real, imaginary);

        CDataArrayDouble levels(lines, real);
        if (levels.GetNum() == 0) throw std::bad_alloc();
        for (__int64 k = 0; imaginary != nullptr && k < lines; ++k)
            levels[k] = std::hypot(real[k], imaginary[k]);
        RequireNumbers(levels, channel.name);
        const double rms = method.rms(levels.GetData() + band.first, band.last - band.first + 1, -band.first,
                                      spacingHz, bandwidth);
        const __int64 highest = HighestLine(levels, band);
        ChannelReport report = {channel,
                                record.GetUnit().ConvDtoI(rms, 1.0, 0),
                                static_cast<double>(highest) * spacingHz,
                                unit->ConvDtoI(levels[highest], 1.0, 0),
                                {},
                                FindPeaks(levels, band, spacingHz, options.peaks, method.isDensity)};
        for (Peak& peak : report.peaks) peak.level = unit->ConvDtoI(peak.level, 1.0, 0);
        if (method.isDensity && record.GetUnit().IsAcc()) {
            report.motion = MotionOf(levels, band, spacingHz, options.cutoffHz);
            if (report.motion) {
                report.motion->acceleration = record.GetUnit().ConvDtoI(report.motion->acceleration, 1.0, 0);
            }
        }
        result.report.channels.push_back(std::move(report));
        progress.Update(static_cast<std::uint64_t>(row) + 1, source.channels.size());
    }
    return result;
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
        for (const Peak& peak : channel.peaks) {
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
        text += "record " + std::to_string(report.record + 1) + ": " +
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

void AddAnalysisOptions(Command command, AnalysisOptions* options) {
    command.AddOption("FILE", options->input, "Data file with time waveforms").Required();
    AddLinesOutput(command, &options->output);
    AddBlockOptions(command, &options->blocks);
    AddChannelOptions(command, &options->channels);
    AddBandOptions(command, "rms, highest line and peaks", &options->band);
    command.AddOption("--peaks", options->peaks, "Report this many of the highest peaks of each channel")
        .Type("N")
        .Check(WholeNumber(1, 65536));
    command.AddFlag("--json", options->json, "Report as JSON, with all digits");
}

void RunAnalysis(const AnalysisOptions& options, const LineMethod& method, ByteStream& out) {
    RequireLinesOutput(options.input, options.output);
    MakeWindow(options.blocks);
    OverlapSamples(options.blocks);
    std::vector<CComDataBase> records;
    std::vector<RecordReport> reports;
    std::wstring text;
    Doing("analyse", options.input, [&] {
        Progress progress("analysing " + InputName(options.input));
        const DataFileContent content = LoadDataFile(options.input);
        text = content.header.GetName();
        for (const ChosenWaveforms& source : SelectSources(content, options)) {
            Analysed analysed = Analyse(source, options, method, progress);
            records.push_back(std::move(analysed.lines));
            reports.push_back(std::move(analysed.report));
        }
        const auto hasMotion = [](const RecordReport& report) {
            return std::ranges::any_of(report.channels, [](const auto& channel) { return !!channel.motion; });
        };
        if (options.cutoffHz > 0.0 && std::ranges::none_of(reports, hasMotion))
            throw Error(ErrorKind::kBadValue,
                        "--cutoff is for the motion of accelerations, which no channel is");
    });
    const std::string& output = options.output.name;
    if (!output.empty()) Doing("write", output, [&] { StoreDataFile(output, text, std::move(records)); });
    WriteReport(ReportStream(output, out), options, reports);
}

}  // namespace kvx::tool
