// SPDX-License-Identifier: MIT
#include "Analysis.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cmath>
#include <new>
#include <nlohmann/json.hpp>
#include <utility>

#include <KvxDevCommon01/dsp/AveragedSpectrum.h>
#include <KvxDevCommon01/dsp/MatWIND.h>
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/platform/Text.h>

#include "Failure.h"
#include "Format.h"
#include "Options.h"
#include "Output.h"
#include "Progress.h"
#include "UnitChoice.h"

namespace kvx::tool {
namespace {

struct WindowName {
    std::string_view name;
    int (*generate)(CDataArrayDouble*);
};

// clang-format off
constexpr std::array kWindows = {
    WindowName{"hann",               &CMatWIND::GeneHanning},
    WindowName{"rectangular",        &CMatWIND::GeneRectangular},
    WindowName{"hamming",            &CMatWIND::GeneHamming},
    WindowName{"blackman",           &CMatWIND::GeneBlackman},
    WindowName{"blackman-harris",    &CMatWIND::GeneBlackmanHarris},
    WindowName{"blackman-harris-61", &CMatWIND::GeneBlackmanHarris_61dB},
    WindowName{"blackman-harris-67", &CMatWIND::GeneBlackmanHarris_67dB},
    WindowName{"blackman-harris-74", &CMatWIND::GeneBlackmanHarris_74dB},
    WindowName{"flat-top",           &CMatWIND::GeneFlatTop},
    WindowName{"half-rectangular",   &CMatWIND::GeneHalfRectangular},
};
// clang-format on

std::string WindowNames() {
    std::string names;
    for (const WindowName& window : kWindows) names += (names.empty() ? "" : ", ") + std::string(window.name);
    return names;
}

/// One analysed channel: what its lines say in the band of the options.
struct ChannelReport {
    Channel channel;
    double rms = 0.0;
    double highestHz = 0.0;
    double highestLevel = 0.0;
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

/// A waveform record and the channels chosen from it.
struct Source {
    const CComDataBase* record;
    std::vector<Channel> channels;
};

/// Lines first to last of a spectrum.
struct Band {
    __int64 first;
    __int64 last;
};

/// The window of the options; throws ValueError.
CDataArrayDouble MakeWindow(const AnalysisOptions& options) {
    if (!BlockCut{options.block, 0}.IsValid()) {
        throw ValueError("--block: " + std::to_string(options.block) +
                         " is not a power of two from 2 to 131072");
    }
    const auto known = std::ranges::find(kWindows, options.window, &WindowName::name);
    if (known == kWindows.end()) {
        throw ValueError("--window: there is no window " + Quote(options.window) + ", only " + WindowNames());
    }
    CDataArrayDouble window(options.block, 0.0);
    if (!known->generate(&window)) throw std::bad_alloc();
    return window;
}

/// The overlap of the options in samples; throws ValueError.
__int64 OverlapSamples(const AnalysisOptions& options) {
    const double samples = std::round(static_cast<double>(options.block) * options.overlapPercent / 100.0);
    if (!(options.overlapPercent >= 0.0 && samples < static_cast<double>(options.block))) {
        throw ValueError("--overlap: " + FormatNumber(options.overlapPercent) +
                         " % leaves no step between blocks of " + std::to_string(options.block));
    }
    return static_cast<__int64>(samples);
}

/// The lines, `spacingHz` apart from 0 Hz on, that lie in the band of the options; throws Reason when there
/// is none.
Band BandLines(const AnalysisOptions& options, double spacingHz, __int64 lines) {
    // Limits typed with the digits of a line's frequency include that line.
    constexpr double kSlack = 1e-6;
    const double top = static_cast<double>(lines - 1);
    const double from = std::min(std::ceil(options.fromHz / spacingHz - kSlack), top + 1.0);
    const double to = options.toHz ? std::min(std::floor(*options.toHz / spacingHz + kSlack), top) : top;
    const Band band = {static_cast<__int64>(from), static_cast<__int64>(to)};
    if (band.first > band.last) {
        throw Reason("no line of it, " + FormatNumber(spacingHz) + " Hz apart up to " +
                     FormatNumber(top * spacingHz) + " Hz, lies in the band");
    }
    return band;
}

/// The highest of the lines in the band, the one at 0 Hz left out where there is another.
__int64 HighestLine(const double* lines, const Band& band) {
    const __int64 first = band.first == 0 && band.last > 0 ? 1 : band.first;
    return std::max_element(lines + first, lines + band.last + 1) - lines;
}

/// Throws Reason when a chosen record is no waveform that fills a block.
std::vector<Source> SelectSources(const DataFileContent& content, const AnalysisOptions& options) {
    std::vector<Source> sources;
    for (Channel& channel : SelectChannels(content, options.channels)) {
        const CComDataBase& record = content.records[channel.record];
        if (!IsWaveform(record)) {
            throw Reason("record " + std::to_string(channel.record + 1) + " is not a time waveform");
        }
        if (record.GetNsamp() < options.block) {
            throw Reason("its " + Count(record.GetNsamp(), "sample") + " do not fill a block of " +
                         std::to_string(options.block) + "; choose a smaller --block");
        }
        if (sources.empty() || sources.back().record != &record) sources.push_back({&record, {}});
        sources.back().channels.push_back(std::move(channel));
    }
    return sources;
}

/// The samples of a channel in the standard unit; throws Reason when one holds no value.
CDataArrayDouble StandardSamples(const CComDataBase& record, const Channel& channel) {
    const double* samples = record.GetReal(channel.row, channel.column);
    const double* end = samples + record.GetNsamp();
    const double* bad =
        std::find_if(samples, end, [](double v) { return v == kNoValue<double> || !std::isfinite(v); });
    if (bad != end) {
        throw Reason("sample " + std::to_string(bad - samples + 1) + " of channel " + Quote(channel.name) +
                     " holds no value");
    }
    CDataArrayDouble copy;
    if (!copy.SetData(record.GetNsamp(), samples)) throw std::bad_alloc();
    return copy;
}

nlohmann::ordered_json JsonOf(const AnalysisOptions& options, const std::vector<RecordReport>& reports) {
    nlohmann::ordered_json json = {{"file", options.input},
                                   {"block", options.block},
                                   {"window", options.window},
                                   {"overlap", OverlapSamples(options)},
                                   {"records", nlohmann::ordered_json::array()}};
    for (const RecordReport& report : reports) {
        nlohmann::ordered_json record = {{"record", report.record + 1},
                                         {"rate", report.rateHz},
                                         {"lineSpacing", report.spacingHz},
                                         {"blocks", report.blocks},
                                         {"channels", nlohmann::ordered_json::array()}};
        for (const ChannelReport& channel : report.channels) {
            record["channels"].push_back({{"channel", channel.channel.number},
                                          {"name", ToUtf8(channel.channel.name)},
                                          {"unit", report.unit},
                                          {"rms", channel.rms},
                                          {"levelUnit", report.levelUnit},
                                          {"highestHz", channel.highestHz},
                                          {"highestLevel", channel.highestLevel}});
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

Analysed Analyse(const Source& source, const AnalysisOptions& options, const LineMethod& method,
                 Progress& progress) {
    const CComDataBase& record = *source.record;
    const std::size_t index = source.channels.front().record;
    const std::optional<CUnitCtrl> unit = method.unitOf(record.GetUnit());
    if (!unit) {
        throw Reason("the unit " + Quote(UnitText(record.GetUnit())) + " of record " +
                     std::to_string(index + 1) + " is a compound, which has no density");
    }
    const CDataArrayDouble window = MakeWindow(options);
    double bandwidth = 0.0;
    CMatWIND::CalcWindENBW(window, &bandwidth, nullptr);
    const __int64 lines = options.block / 2;
    const double rateHz = RateOf(record);
    const double spacingHz = rateHz / static_cast<double>(options.block);
    const Band band = BandLines(options, spacingHz, lines);

    CStringArray names;
    for (const Channel& channel : source.channels) names.push_back(channel.name);
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
            method.calculate({samples, rateHz, window, OverlapSamples(options)}, real, imaginary);

        CDataArrayDouble levels(lines, real);
        if (levels.GetNum() == 0) throw std::bad_alloc();
        for (__int64 k = 0; imaginary != nullptr && k < lines; ++k)
            levels[k] = std::hypot(real[k], imaginary[k]);
        const double rms = method.rms(levels.GetData() + band.first, band.last - band.first + 1, -band.first,
                                      spacingHz, bandwidth);
        const __int64 highest = HighestLine(levels.GetData(), band);
        result.report.channels.push_back({channel, record.GetUnit().ConvDtoI(rms, 1.0, 0),
                                          static_cast<double>(highest) * spacingHz,
                                          unit->ConvDtoI(levels[highest], 1.0, 0)});
        progress.Update(static_cast<std::uint64_t>(row) + 1, source.channels.size());
    }
    return result;
}

void WriteReport(ByteStream& out, const AnalysisOptions& options, const std::vector<RecordReport>& reports) {
    if (options.json) {
        WriteText(out, JsonOf(options, reports).dump(2) + "\n");
        return;
    }
    std::string text;
    for (const RecordReport& report : reports) {
        text += "record " + std::to_string(report.record + 1) + ": " + Count(report.blocks, "block") +
                " of " + std::to_string(options.block) + " at " + FormatNumber(report.rateHz, 10) + " Hz, " +
                options.window + " window, line spacing " + FormatNumber(report.spacingHz, 10) + " Hz";
        if (options.fromHz > 0.0 || options.toHz) {
            text += ", band from " + FormatNumber(options.fromHz) + " Hz";
            if (options.toHz) text += " to " + FormatNumber(*options.toHz) + " Hz";
        }
        std::vector<std::vector<std::string>> lines = {
            {"channel", "name", "rms", "", "highest line", "", "level", ""}};
        for (const ChannelReport& channel : report.channels) {
            lines.push_back({std::to_string(channel.channel.number), ToUtf8(channel.channel.name),
                             FormatNumber(channel.rms), report.unit, FormatNumber(channel.highestHz, 7), "Hz",
                             FormatNumber(channel.highestLevel), report.levelUnit});
        }
        text += "\n" + FormatTable({Align::right, Align::left, Align::right, Align::left, Align::right,
                                    Align::left, Align::right, Align::left},
                                   lines);
    }
    WriteText(out, text);
}

}  // namespace

void AddAnalysisOptions(CLI::App& command, AnalysisOptions* options) {
    command.add_option("FILE", options->input, "Data file with time waveforms")->required();
    command.add_option("-o,--output", options->output,
                       "Data file for the lines; without it only a report is printed");
    command.add_option("--block", options->block, "Samples per block, a power of two from 2 to 131072")
        ->type_name("N")
        ->check(WholeNumber(2, 131072))
        ->capture_default_str();
    command.add_option("--window", options->window, "Window: " + WindowNames())
        ->type_name("NAME")
        ->capture_default_str();
    command.add_option("--overlap", options->overlapPercent, "Overlap of the blocks in percent")
        ->type_name("PERCENT")
        ->check(FiniteNumber())
        ->capture_default_str();
    AddChannelOptions(command, &options->channels);
    command.add_option("--from", options->fromHz, "Report rms and highest line from this frequency on")
        ->type_name("HZ")
        ->check(NonNegativeNumber());
    command.add_option("--to", options->toHz, "Report them up to this frequency")
        ->type_name("HZ")
        ->check(PositiveNumber());
    command.add_flag("--json", options->json, "Report as JSON, with all digits");
}

void RunAnalysis(const AnalysisOptions& options, const LineMethod& method, ByteStream& out) {
    if (!options.output.empty()) RequireAnotherFile(options.input, options.output);
    MakeWindow(options);
    OverlapSamples(options);
    std::vector<CComDataBase> records;
    std::vector<RecordReport> reports;
    std::wstring text;
    Doing("analyse", options.input, [&] {
        Progress progress("analysing " + options.input);
        const DataFileContent content = LoadDataFile(options.input);
        text = content.header.GetName();
        for (const Source& source : SelectSources(content, options)) {
            Analysed analysed = Analyse(source, options, method, progress);
            records.push_back(std::move(analysed.lines));
            reports.push_back(std::move(analysed.report));
        }
    });
    if (!options.output.empty()) {
        Doing("write", options.output, [&] { StoreDataFile(options.output, text, std::move(records)); });
    }
    WriteReport(out, options, reports);
}

}  // namespace kvx::tool
