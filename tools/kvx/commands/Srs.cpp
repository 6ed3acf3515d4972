// SPDX-License-Identifier: MIT
//
// kvx srs: shock response spectra.
#include <fmt/format.h>
#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/NearNames.h>
#include <KvxRecording01/RecordingShock.h>

#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "commands/Analysis.h"
#include "commands/Commands.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

using Json = nlohmann::ordered_json;

struct SrsOptions {
    InputOptions input;
    OutputChoice output;
    std::optional<double> q;
    std::optional<double> dampingPercent;
    std::string response = "acceleration";
    std::string extremes = "maximax";
    std::optional<std::int64_t> perOctave;
    std::optional<double> stepHz;
    std::string frequencies;
    std::optional<double> fromHz;
    std::optional<double> toHz;
    double peakErrorPercent = 1.0;
    bool isStraight = false;
    double baselineSeconds = 0.0;
    bool isTable = false;
    bool json = false;
};

/// What the options say, with the names of the extremes.
struct Settled {
    ShockChoice choice;
    std::vector<NamedShockExtreme> extremes;

    std::vector<ShockExtreme> Extremes() const {
        std::vector<ShockExtreme> list;
        for (const NamedShockExtreme& each : extremes) list.push_back(each.extreme);
        return list;
    }
};

Settled Settle(const SrsOptions& options) {
    constexpr double kUsualQ = 10.0;
    const bool isBand = options.fromHz || options.toHz;
    if (options.q && options.dampingPercent) throw UsageError("--q and --damping say the same");
    if (int{!options.frequencies.empty()} + int{options.stepHz.has_value()} +
            int{options.perOctave.has_value()} >
        1) {
        throw UsageError(
            "only one of --per-octave, --step and --frequencies says which frequencies are meant");
    }
    if (!options.frequencies.empty() && isBand)
        throw UsageError("--frequencies lists all frequencies; --from and --to do not apply");
    Settled settled;
    ShockChoice& choice = settled.choice;
    if (!options.frequencies.empty()) {
        for (const std::string& text : SplitList(options.frequencies))
            choice.frequencies.push_back(ParseArgument(text));
    }
    choice.fromHz = options.fromHz;
    choice.toHz = options.toHz;
    choice.stepHz = options.stepHz;
    choice.perOctave = static_cast<int>(options.perOctave.value_or(choice.perOctave));
    choice.damping =
        options.dampingPercent ? *options.dampingPercent / 100.0 : 0.5 / options.q.value_or(kUsualQ);
    choice.response = Choose(NamedShockResponses(), "--response", options.response).response;
    choice.peakError.reset();
    if (!options.isStraight) choice.peakError = options.peakErrorPercent / 100.0;
    choice.baselineSeconds = options.baselineSeconds;
    for (const std::string& name : SplitList(options.extremes))
        settled.extremes.push_back(Choose(NamedShockExtremes(), "--extremes", name));
    return settled;
}

/// One spectrum of a channel as it is shown.
struct Shown {
    std::string name;  ///< of the extreme
    std::vector<double> levels;
    std::size_t highest;

    Shown(const RecordShockSpectra& record, const ChannelShockSpectrum& channel,
          const NamedShockExtreme& extreme)
        : name(extreme.name), levels(channel.extremes.Of(extreme.extreme)) {
        record.unit.ConvDtoI(levels.data(), levels.data(), std::ssize(levels), 1.0, 0);
        highest = static_cast<std::size_t>(std::ranges::max_element(levels) - levels.begin());
    }
};

Json JsonOf(const SrsOptions& options, const Settled& settled,
            const std::vector<RecordShockSpectra>& spectra) {
    const ShockChoice& choice = settled.choice;
    Json json = {{"file", options.input.file}, {"response", options.response}, {"damping", choice.damping}};
    json["q"] = nullptr;
    if (choice.damping > 0.0) json["q"] = 0.5 / choice.damping;
    json["peakError"] = nullptr;
    if (choice.peakError) json["peakError"] = *choice.peakError;
    json["baseline"] = choice.baselineSeconds;
    json["records"] = Json::array();
    for (const RecordShockSpectra& record : spectra) {
        Json shown = {{"record", record.record},
                      {"rate", record.rateHz},
                      {"interpolation", record.interpolation},
                      {"interpolatedFromHz", nullptr},
                      {"unit", JsonUnit(record.unit)},
                      {"frequencies", record.frequencies},
                      {"channels", Json::array()}};
        if (record.interpolatedFromHz) shown["interpolatedFromHz"] = *record.interpolatedFromHz;
        for (const ChannelShockSpectrum& channel : record.channels) {
            Json lines = {{"channel", channel.channel.number}, {"name", ToUtf8(channel.channel.name)}};
            lines["spectra"] = Json::array();
            for (const NamedShockExtreme& extreme : settled.extremes) {
                const Shown spectrum(record, channel, extreme);
                lines["spectra"].push_back({{"extreme", spectrum.name},
                                            {"highestHz", record.frequencies[spectrum.highest]},
                                            {"highest", spectrum.levels[spectrum.highest]},
                                            {"levels", spectrum.levels}});
            }
            shown["channels"].push_back(std::move(lines));
        }
        json["records"].push_back(std::move(shown));
    }
    return json;
}

std::string DampingText(double damping) {
    std::string text = "damping " + FormatNumber(100.0 * damping) + " %";
    return damping > 0.0 ? "Q " + FormatNumber(0.5 / damping) + " (" + text + ")" : text;
}

std::string FrequenciesText(const ShockChoice& choice, const RecordShockSpectra& record) {
    const auto [low, high] = std::ranges::minmax(record.frequencies);
    const std::size_t count = record.frequencies.size();
    if (count == 1) return "at " + FormatNumber(low) + " Hz";
    std::string text = std::to_string(count) + " frequencies from " + FormatNumber(low) + " Hz to " +
                       FormatNumber(high) + " Hz";
    if (!choice.frequencies.empty()) return text;
    return text + (choice.stepHz ? ", " + FormatNumber(*choice.stepHz) + " Hz apart"
                                 : ", " + std::to_string(choice.perOctave) + " per octave");
}

/// What the peaks at the highest frequency suffer from.
std::string PeaksText(const ShockChoice& choice, const RecordShockSpectra& record) {
    const double highest = std::ranges::max(record.frequencies);
    if (!choice.peakError) {
        return fmt::format("straight between samples: oscillations up to {:.2g} % too low at {} Hz",
                           100.0 * ShockPeakError(highest, record.rateHz), FormatNumber(highest));
    }
    std::string text = "oscillations at most " + FormatNumber(100.0 * *choice.peakError) + " % too low";
    if (record.interpolatedFromHz) {
        text += ", interpolated from " + FormatNumber(*record.interpolatedFromHz) + " Hz on, up to " +
                std::to_string(record.interpolation) + " times";
    }
    return text;
}

std::string ReportText(const Settled& settled, const std::string& response,
                       const std::vector<RecordShockSpectra>& spectra) {
    std::string text;
    for (const RecordShockSpectra& record : spectra) {
        text += "record " + std::to_string(record.record) + ": " + response + ", " +
                DampingText(settled.choice.damping) + ", at " + FormatNumber(record.rateHz, 10) + " Hz\n" +
                FrequenciesText(settled.choice, record) + "; " + PeaksText(settled.choice, record) + "\n";
        ChannelTable table({"extreme", "", "highest", "", "at", ""});
        for (const ChannelShockSpectrum& channel : record.channels) {
            for (const NamedShockExtreme& extreme : settled.extremes) {
                const Shown spectrum(record, channel, extreme);
                table.Add(channel.channel,
                          {spectrum.name, "", FormatNumber(spectrum.levels[spectrum.highest]),
                           UnitText(record.unit), FormatNumber(record.frequencies[spectrum.highest]), "Hz"});
            }
        }
        text += table.Text();
    }
    return text;
}

/// All levels, a line for each frequency.
std::string TableText(const Settled& settled, const std::vector<RecordShockSpectra>& spectra) {
    std::string text;
    for (const RecordShockSpectra& record : spectra) {
        std::vector<std::vector<std::string>> lines = {{"frequency [Hz]"}};
        for (const double frequency : record.frequencies) lines.push_back({FormatNumber(frequency)});
        for (const ChannelShockSpectrum& channel : record.channels) {
            for (const NamedShockExtreme& extreme : settled.extremes) {
                const Shown spectrum(record, channel, extreme);
                std::string heading = ToUtf8(channel.channel.name);
                if (settled.extremes.size() > 1) heading += " " + spectrum.name;
                lines.front().push_back(heading + " [" + UnitText(record.unit) + "]");
                for (std::size_t i = 0; i < spectrum.levels.size(); ++i)
                    lines[i + 1].push_back(FormatNumber(spectrum.levels[i]));
            }
        }
        text += FormatTable(std::vector<Align>(lines.front().size(), Align::right), lines);
    }
    return text;
}

void RunOne(const SrsOptions& options, ByteStream& out) {
    const Settled settled = Settle(options);
    const std::string& output = options.output.name;
    if (!output.empty()) {
        RequireAnotherFile(options.input.file, output);
        RecordingFormatOf(options.output);
    }
    std::wstring source;
    const std::vector<RecordShockSpectra> spectra = AnalyseInput(options.input, [&](Progress& progress) {
        const std::unique_ptr<SignalReader> reader = OpenWaveforms(options.input, progress);
        source = reader->Text();
        return ShockSpectraOf(*reader, settled.choice, progress.Function());
    });
    if (!output.empty()) {
        Doing("write", output,
              [&] { StoreRecords(options.output, source, DataRecords(spectra, settled.Extremes())); });
    }
    std::string report;
    if (options.json) {
        report = JsonOf(options, settled, spectra).dump(2) + "\n";
    } else {
        report = ReportText(settled, options.response, spectra);
        if (options.isTable) report += TableText(settled, spectra);
    }
    WriteText(ReportStream(output, out), report);
}

}  // namespace

void AddSrs(Command app) {
    const auto options = std::make_shared<SrsOptions>();
    const auto batch = std::make_shared<BatchOptions>();
    Command command = app.AddCommand("srs", "Shock response spectra of time waveforms");
    AddWaveformInputs(command, batch.get());
    AddLinesOutput(command, batch.get());
    AddPositive(command, "--q", "Q", options->q, "Quality of the oscillators, above 0.5 (default: 10)");
    command
        .AddOption("--damping", options->dampingPercent, "Their damping ratio instead, from 0 to below 100")
        .Type("PERCENT")
        .Check(NonNegativeNumber());
    command.AddOption("--response", options->response, "Response: " + Names(NamedShockResponses()))
        .Type("NAME")
        .Suggest(NameList(NamedShockResponses()))
        .ShowDefault();
    AddList(command, "--extremes", options->extremes, "Which of its extremes: " + Names(NamedShockExtremes()))
        .Suggest(NameList(NamedShockExtremes()))
        .ShowDefault();
    command.AddOption("--per-octave", options->perOctave, "Natural frequencies per octave (default: 12)")
        .Type("N")
        .Check(WholeNumber(1, 1000));
    AddPositive(command, "--step", "HZ", options->stepHz, "Natural frequencies evenly apart instead");
    AddList(command, "--frequencies", options->frequencies, "Natural frequencies one by one: 10,100,1000");
    AddPositive(command, "--from", "HZ", options->fromHz,
                "Lowest natural frequency (default: a thousandth of the highest)");
    AddPositive(command, "--to", "HZ", options->toHz, "Highest natural frequency (default: rate/2.56)");
    AddPositive(command, "--peak-error", "PERCENT", options->peakErrorPercent,
                "By how much peaks may come out too low, 0.5 or more; the signal is interpolated for it")
        .ShowDefault();
    command.AddFlag("--straight", options->isStraight,
                    "Never interpolate: the signal runs straight between its samples");
    command
        .AddOption("--baseline", options->baselineSeconds,
                   "Take the mean of so many seconds at the start off the signal")
        .Type("S")
        .Check(NonNegativeNumber());
    AddPartOptions(command, &options->input.part);
    AddRecordingOptions(command, &options->input.recording);
    command.AddFlag("--table", options->isTable, "Print all lines as well");
    command.AddFlag("--json", options->json, "Report as JSON, all lines with all digits");
    command.SetFooter(R"(
Each natural frequency is an oscillator of one degree of freedom on the base whose acceleration the
signal is (ISO 18431-4, ramp-invariant filters). Responses: absolute acceleration, relative velocity
and displacement, pseudo-velocity (2 pi f times the relative displacement) and equivalent static
acceleration (that times 2 pi f). All have the sign of the acceleration that causes them, and the
spectra hold magnitudes. Primary extremes lie within the signal, residual ones in the free vibration
after it; maximax is the largest of all. The signal is taken as 0 before and after: --baseline takes
an offset off that would be a step.

Frequencies per octave lie on the grid of IEC 61260-1, 1000 Hz and 10^(0.3/n) from one to the next.
)",
                      R"(
kvx pulse -o shock.vdf2 --shape half-sine --peak '50 g' --duration '11 ms' --rate 20000 --tail 0.1
kvx srs shock.vdf2 -o srs.vdf2 --q 10 --from 5 --to 2000
kvx plot srs.vdf2 -o srs.svg
)");
    command.OnRun([=](ByteStream& out) { RunLines(*options, *batch, RunOne, out); });
}

}  // namespace kvx::tool
