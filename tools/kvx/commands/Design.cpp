// SPDX-License-Identifier: MIT
//
// kvx design: the coefficients of filters and what they do to every frequency.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <KvxDevCommon01/dsp/FrequencyResponse.h>
#include <KvxDevCommon01/dsp/LineSpectrum.h>
#include <KvxDevCommon01/files/SpectrumRecord.h>
#include <KvxDevCommon01/platform/Text.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/OutputFormat.h"
#include "cli/StandardStreams.h"
#include "commands/Commands.h"
#include "commands/DataFiles.h"
#include "commands/FilterChoice.h"

namespace kvx::tool {
namespace {

using Json = nlohmann::ordered_json;

struct DesignOptions {
    FilterChoice filters;
    OutputChoice output;  ///< may be empty
    double rateHz = 0.0;
    std::optional<double> fromHz;
    std::optional<double> toHz;
    std::int64_t points = 11;
    std::int64_t lines = 1024;
    bool isLogarithmic = false;
    std::string at;
    std::optional<std::string> table;  ///< to print as comma-separated values
    bool json = false;
};

constexpr std::array<const char*, 3> kTables = {"sos", "fir", "response"};

/// The frequencies of the report.
std::vector<double> Frequencies(const DesignOptions& options) {
    if (!options.at.empty()) {
        if (options.fromHz || options.toHz || options.isLogarithmic)
            throw UsageError("--at does not go with --from, --to and --log");
        std::vector<double> hz;
        for (const std::string& piece : SplitList(options.at)) hz.push_back(ParseArgument(piece));
        return hz;
    }
    const double half = 0.5 * options.rateHz;
    const double from = options.fromHz.value_or(options.isLogarithmic ? 1e-3 * half : 0.0);
    try {
        return FrequencyGrid(from, options.toHz.value_or(half), static_cast<std::size_t>(options.points),
                             options.isLogarithmic ? FrequencySteps::multiple : FrequencySteps::equal);
    } catch (const Error& error) {
        throw ValueError(error.Sentence());
    }
}

std::vector<Biquad> SectionsOf(const SampleFilters& filters, double rateHz) {
    std::vector<Biquad> sections;
    for (const IirFilter& filter : filters.iirs) {
        const std::vector<Biquad> own = DesignIir(filter, rateHz);
        sections.insert(sections.end(), own.begin(), own.end());
    }
    return sections;
}

/// Finite numbers; JSON has no others.
Json NumberOrNull(double value) {
    return std::isfinite(value) ? Json(value) : Json(nullptr);
}

Json ComplexNumbers(const std::vector<std::complex<double>>& numbers) {
    Json json = Json::array();
    for (const auto& number : numbers) json.push_back({number.real(), number.imag()});
    return json;
}

std::string JsonText(const DesignOptions& options, const FittedFilters& fitted,
                     const std::vector<ResponsePoint>& response) {
    const SampleFilters& filters = fitted.filters;
    Json json = {{"filter", fitted.text}, {"rateHz", options.rateHz}};
    json["fir"] = Json::array();
    for (const FirFilter& fir : filters.firs)
        json["fir"].push_back({{"coefficients", fir.coefficients}, {"delayTakenOutSamples", fir.delay}});
    const std::vector<Biquad> sections = SectionsOf(filters, options.rateHz);
    json["sos"] = Json::array();
    for (const Biquad& section : sections) json["sos"].push_back(RowOf(section));
    const ZerosAndPoles places = ZerosAndPolesOf(sections);
    json["zeros"] = ComplexNumbers(places.zeros);
    json["poles"] = ComplexNumbers(places.poles);
    json["gain"] = places.gain;
    json["response"] = Json::array();
    for (const ResponsePoint& point : response) {
        json["response"].push_back(
            {{"frequencyHz", point.hz},
             {"real", point.gain.real()},
             {"imaginary", point.gain.imag()},
             {"levelDb", NumberOrNull(point.LevelDb())},
             {"phaseDegrees", point.PhaseDegrees()},
             {"groupDelaySamples", NumberOrNull(point.delaySamples)},
             {"groupDelaySeconds", NumberOrNull(point.delaySamples / options.rateHz)}});
    }
    return json.dump(2) + "\n";
}

std::string CsvLine(std::span<const double> numbers) {
    std::string line;
    for (const double number : numbers) line += (line.empty() ? "" : ",") + FormatExact(number);
    return line + "\n";
}

std::string CsvText(const std::string& table, const DesignOptions& options, const SampleFilters& filters,
                    const std::vector<ResponsePoint>& response) {
    std::string text;
    if (table == "sos") {
        text = "b0,b1,b2,a0,a1,a2\n";
        for (const Biquad& section : SectionsOf(filters, options.rateHz)) text += CsvLine(RowOf(section));
    } else if (table == "fir") {
        for (const FirFilter& fir : filters.firs) {
            for (const double coefficient : fir.coefficients) text += FormatExact(coefficient) + "\n";
        }
    } else {
        text = "frequency[Hz],level[dB],phase[deg],group delay[s]\n";
        for (const ResponsePoint& point : response) {
            text += CsvLine(std::array{point.hz, point.LevelDb(), point.PhaseDegrees(),
                                       point.delaySamples / options.rateHz});
        }
    }
    return text;
}

std::string ReportText(const DesignOptions& options, const FittedFilters& fitted,
                       const std::vector<ResponsePoint>& response) {
    constexpr int kDigits = 8;
    const SampleFilters& filters = fitted.filters;
    std::string text = fitted.text + " at " + FormatNumber(options.rateHz, 10) + " Hz\n";
    const std::vector<Biquad> sections = SectionsOf(filters, options.rateHz);
    if (!sections.empty()) {
        std::vector<std::vector<std::string>> rows = {{"section", "b0", "b1", "b2", "a1", "a2"}};
        for (std::size_t s = 0; s < sections.size(); ++s) {
            const SosRow row = RowOf(sections[s]);
            rows.push_back({std::to_string(s + 1)});
            for (const std::size_t c : {0U, 1U, 2U, 4U, 5U})
                rows.back().push_back(FormatNumber(row[c], kDigits));
        }
        text += FormatTable(std::vector<Align>(6, Align::right), rows);
        text += "settles within " + FormatNumber(std::ceil(SettlingSamples(sections)), 10) + " samples\n";
    }
    std::vector<std::vector<std::string>> rows = {
        {"frequency", "", "level", "", "phase", "", "group delay", ""}};
    for (const ResponsePoint& point : response) {
        rows.push_back({FormatNumber(point.hz), "Hz", FormatNumber(point.LevelDb(), 5), "dB",
                        FormatNumber(point.PhaseDegrees(), 5), "deg",
                        FormatNumber(point.delaySamples / options.rateHz, 5), "s"});
    }
    return text + FormatTable({Align::right, Align::left, Align::right, Align::left, Align::right,
                               Align::left, Align::right, Align::left},
                              rows);
}

/// The response on evenly spaced lines, as a transfer function is kept.
CComDataBase RecordOf(const DesignOptions& options, const SampleFilters& filters) {
    const auto count = static_cast<std::size_t>(options.lines);
    LineSpectrum lines;
    lines.kind = LineKind::kTransfer;
    lines.spacingHz = 0.5 * options.rateHz / static_cast<double>(count);
    lines.blocks = 1;
    std::vector<double> hz(count);
    for (std::size_t k = 0; k < count; ++k) hz[k] = static_cast<double>(k) * lines.spacingHz;
    for (const ResponsePoint& point : ResponseOf(filters, options.rateHz, hz)) {
        lines.real.push_back(point.gain.real());
        lines.imaginary.push_back(point.gain.imag());
    }
    return SpectrumRecord(std::span(&lines, 1), {L"filter"}, L"input");
}

void RunDesign(const DesignOptions& options, ByteStream& out) {
    const std::string& output = options.output.name;
    RequireAnotherFile(options.filters.firFile.value_or(""), output);
    if (options.json && options.table) throw UsageError("--csv does not go with --json");
    const std::vector<double> hz = Frequencies(options);
    const ChosenFilters chosen = ReadSampleFilters(options.filters);
    FittedFilters fitted;
    std::vector<ResponsePoint> response;
    try {
        fitted = FiltersAt(chosen, options.rateHz);
        response = ResponseOf(fitted.filters, options.rateHz, hz);
    } catch (const Error& error) {
        throw ValueError(error.Sentence());
    }
    const std::string text = options.json    ? JsonText(options, fitted, response)
                             : options.table ? CsvText(*options.table, options, fitted.filters, response)
                                             : ReportText(options, fitted, response);
    if (!output.empty()) {
        Doing("write", output, [&] {
            StoreRecords(options.output, FromUtf8(fitted.text).value_or(L""),
                         RecordOf(options, fitted.filters));
        });
    }
    WriteText(ReportStream(output, out), text);
}

}  // namespace

void AddDesign(Command app) {
    const auto options = std::make_shared<DesignOptions>();
    Command command = app.AddCommand("design", "Coefficients, frequency response and delay of filters");
    AddPositive(command, "--rate", "HZ", options->rateHz, "Sampling rate that the filter is for").Required();
    AddCorners(command, &options->filters);
    AddPositive(command, "--order", "N", options->filters.order, "Order, 1 to 32 (default: 4)");
    AddSampleFilters(command, &options->filters);
    AddOutputOptions(command, "Complex response on evenly spaced lines, as a transfer function",
                     RecordingFormats(), &options->output);
    command.AddOption("--lines", options->lines, "Lines of -o from 0 Hz to below half the rate")
        .Type("N")
        .Check(WholeNumber(2, 1 << 24))
        .ShowDefault();
    AddList(command, "--at", options->at, "Frequencies of the report");
    command.AddOption("--from", options->fromHz, "Lowest frequency of the report (default: 0)")
        .Type("HZ")
        .Check(NonNegativeNumber());
    AddPositive(command, "--to", "HZ", options->toHz,
                "Highest frequency of the report (default: half the rate)");
    command.AddOption("--points", options->points, "Frequencies of the report")
        .Type("N")
        .Check(WholeNumber(2, 1 << 20))
        .ShowDefault();
    command.AddFlag("--log", options->isLogarithmic, "Space them in equal ratios, from a thousandth on");
    command
        .AddOption("--csv", options->table, "Print one table as comma-separated values: sos, fir, response")
        .Type("TABLE")
        .OneOf({kTables.begin(), kTables.end()});
    command.AddFlag("--json", options->json, "Report as JSON, with all digits");
    command.SetFooter(R"(
The filters are those of 'kvx filter' sample by sample, stated alike; --lowpass and --highpass are
recursive here. Sections y = b0 x + b1 x1 + b2 x2 - a1 y1 - a2 y2 follow one another; --csv sos and
JSON have them as rows b0 b1 b2 a0 a1 a2, as SciPy's sosfilt takes them. The delay of FIR filters that
kvx filter takes out is left out of phase and delay.
)",
                      R"(
kvx design --rate 1000 --family elliptic --lowpass 100 --order 5 --at 10,50,100,150
kvx design --rate 1000 --notch 50 --csv sos
kvx design --rate 1000 --family equiripple --lowpass 100 --transition 40 --csv fir
kvx design --rate 1000 --bandpass 20,80 --family bessel -o response.vdf2
)");
    command.OnRun([=](ByteStream& out) { RunDesign(*options, out); });
}

}  // namespace kvx::tool
