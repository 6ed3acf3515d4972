// SPDX-License-Identifier: MIT
#include "commands/FilterChoice.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>
#include <utility>

#include <KvxRecording01/TextTable.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/Progress.h"
#include "cli/StandardStreams.h"

namespace kvx::tool {
namespace {

using Pass = IirFilter::Pass;
using Family = IirFilter::Family;

struct NormName {
    std::string_view name;
    IirFilter::BesselNorm norm;
};
constexpr std::array kNorms = {NormName{"mag", IirFilter::BesselNorm::magnitude},
                               NormName{"phase", IirFilter::BesselNorm::phase},
                               NormName{"delay", IirFilter::BesselNorm::delay}};

FirFilter ReadFir(const std::string& path) {
    FirFilter filter = CentredFir(Doing("read", path, [&] {
        Progress progress("reading " + InputName(path));
        return ReadCoefficients(OpenTextFile(InputPath(path)), {.encodingName = "--encoding"},
                                progress.Function());
    }));
    const std::optional<double> delay = LinearPhaseDelay(filter.coefficients);
    if (!delay) Note("the coefficients are not symmetric; what they delay, stays delayed");
    if (delay && static_cast<double>(filter.delay) != *delay)
        Note("an even number of taps leaves a delay of half a sample");
    return filter;
}

void AddButterworths(const std::vector<std::string>& values, std::vector<IirFilter>& filters) {
    constexpr double kHighestOrder = 64.0;
    for (std::size_t v = 0; v + 2 < values.size(); v += 3) {
        const std::string& pass = values[v];
        if (pass != "lp" && pass != "hp")
            throw ValueError("--butterworth: " + Quote(pass) + " is not lp or hp");
        const double order = ParseArgument(values[v + 1]);
        if (!(order >= 1.0 && order <= kHighestOrder && order == std::floor(order))) {
            throw ValueError("--butterworth: " + Quote(values[v + 1]) + " is not an order from 1 to 64");
        }
        const double cornerHz = ParseArgument(values[v + 2]);
        if (!(cornerHz > 0.0)) {
            throw ValueError("--butterworth: " + Quote(values[v + 2]) + " is not a frequency above 0");
        }
        filters.push_back(
            {pass == "lp" ? Pass::low : Pass::high, static_cast<std::int32_t>(order), cornerHz});
    }
}

/// One or two numbers above 0 of an option.
std::vector<double> Positives(const std::string& option, const std::string& list, std::size_t least) {
    std::vector<double> numbers;
    for (const std::string& piece : SplitList(list)) numbers.push_back(ParseArgument(piece));
    const bool arePositive = std::ranges::all_of(numbers, [](double each) { return each > 0.0; });
    if (numbers.size() >= least && numbers.size() <= 2 && arePositive) return numbers;
    throw ValueError(option + ": " + Quote(list) +
                     (least == 2 ? " is no pair of frequencies above 0"
                                 : " is no frequency above 0, perhaps with a quality above 0"));
}

/// A filter of the family, order and ripples that were stated.
IirFilter Pattern(const FilterChoice& choice) {
    IirFilter filter;
    filter.family = Choose(kIirFamilies, "--family", choice.family.value_or("butterworth")).family;
    const bool hasRipple = filter.family == Family::chebyshev1 || filter.family == Family::elliptic;
    const bool hasAttenuation = filter.family == Family::chebyshev2 || filter.family == Family::elliptic;
    if (choice.rippleDb && !hasRipple) throw UsageError("--ripple is for --family chebyshev1 and elliptic");
    if (choice.attenuationDb && !hasAttenuation)
        throw UsageError("--attenuation is for --family chebyshev2 and elliptic");
    if (choice.norm && filter.family != Family::bessel) throw UsageError("--norm is for --family bessel");
    const double order = choice.order.value_or(filter.order);
    if (!(order >= 1.0 && order == std::floor(order) && order <= HighestOrder({Pass::band}))) {
        throw ValueError("--order: " + FormatNumber(order) + " is not a whole number from 1 to " +
                         std::to_string(HighestOrder({Pass::band})));
    }
    filter.order = static_cast<std::int32_t>(order);
    filter.rippleDb = choice.rippleDb.value_or(filter.rippleDb);
    filter.attenuationDb = choice.attenuationDb.value_or(filter.attenuationDb);
    filter.norm = Choose(kNorms, "--norm", choice.norm.value_or("mag")).norm;
    return filter;
}

void AddDesigned(const FilterChoice& choice, std::vector<IirFilter>& filters) {
    const IirFilter pattern = Pattern(choice);
    const auto add = [&](Pass pass, double cornerHz, double upperHz) {
        IirFilter& filter = filters.emplace_back(pattern);
        filter.pass = pass;
        filter.cornerHz = cornerHz;
        filter.upperHz = upperHz;
    };
    if (choice.highPassHz) add(Pass::high, *choice.highPassHz, 0.0);
    if (choice.lowPassHz) add(Pass::low, *choice.lowPassHz, 0.0);
    const auto addBands = [&](Pass pass, const std::string& option, const std::vector<std::string>& lists) {
        for (const std::string& list : lists) {
            const std::vector<double> corners = Positives(option, list, 2);
            if (!(corners[0] < corners[1]))
                throw ValueError(option + ": " + Quote(list) + " is no rising pair of frequencies");
            add(pass, corners[0], corners[1]);
        }
    };
    addBands(Pass::band, "--bandpass", choice.bandPasses);
    addBands(Pass::stop, "--bandstop", choice.bandStops);
    const auto addResonances = [&](Pass pass, const std::string& option,
                                   const std::vector<std::string>& lists) {
        for (const std::string& list : lists) {
            const std::vector<double> numbers = Positives(option, list, 1);
            add(pass, numbers[0], 0.0);
            if (numbers.size() > 1) filters.back().q = numbers[1];
        }
    };
    addResonances(Pass::notch, "--notch", choice.notches);
    addResonances(Pass::peak, "--peak", choice.peaks);
}

}  // namespace

bool FilterChoice::IsDesigned() const {
    return family || rippleDb || attenuationDb || norm || !bandPasses.empty() || !bandStops.empty() ||
           !notches.empty() || !peaks.empty();
}

void AddCorners(Command& command, FilterChoice* choice) {
    AddPositive(command, "--lowpass", "HZ", choice->lowPassHz, "Keep what lies below this frequency");
    AddPositive(command, "--highpass", "HZ", choice->highPassHz, "Keep what lies above this frequency");
}

void AddSampleFilters(Command& command, FilterChoice* choice) {
    const auto addBand = [&](const std::string& name, std::vector<std::string>& target, const char* text) {
        command.AddOption(name, target, text).Type("HZ,HZ");
    };
    addBand("--bandpass", choice->bandPasses, "Recursive filter: keep what lies between; may be repeated");
    addBand("--bandstop", choice->bandStops, "Recursive filter: keep what lies outside; may be repeated");
    const auto addResonance = [&](const std::string& name, std::vector<std::string>& target,
                                  const char* text) { command.AddOption(name, target, text).Type("HZ[,Q]"); };
    addResonance(
        "--notch", choice->notches,
        "Recursive filter: take a frequency out, -3 dB at a width of HZ/Q, Q 30 unless given; may be "
        "repeated");
    addResonance("--peak", choice->peaks, "Recursive filter: keep a frequency, as wide; may be repeated");
    command
        .AddOption("--family", choice->family,
                   "Family of the recursive filters, of --lowpass and --highpass as well: " +
                       Names(kIirFamilies) + " (default: butterworth)")
        .Type("NAME")
        .Suggest(NameList(kIirFamilies));
    AddPositive(command, "--ripple", "DB", choice->rippleDb,
                "Ripple in the pass band of chebyshev1 and elliptic (default: 0.5)");
    AddPositive(command, "--attenuation", "DB", choice->attenuationDb,
                "Attenuation in the stop band of chebyshev2 and elliptic (default: 60)");
    command
        .AddOption("--norm", choice->norm,
                   "What bessel has at its corner: " + Names(kNorms) + " (default: mag, -3 dB)")
        .Type("NAME")
        .Suggest(NameList(kNorms));
    command
        .AddOption("--butterworth", choice->butterworths,
                   "Recursive filter: lp or hp, order from 1 to 64 and corner in Hz; may be repeated")
        .Type("PASS ORDER HZ")
        .Values(3);
    command
        .AddOption("--fir", choice->firFile,
                   "FIR filter: text file of its coefficients in one column or one row")
        .Type("FILE");
    command.AddOption("--fir-set", choice->firSet, "FIR filter: built-in low-pass of a rate change, 0 to 5")
        .Type("SET")
        .Check(WholeNumber(0, 5));
    command.AddFlag("--keep-delay", choice->keepDelay,
                    "Leave the delay of --fir and --fir-set in the signal");
}

SampleFilters ReadSampleFilters(const FilterChoice& choice) {
    if (choice.keepDelay && !choice.HasFir()) throw UsageError("--keep-delay is for --fir and --fir-set");
    SampleFilters filters;
    if (choice.IsDesigned() || choice.lowPassHz || choice.highPassHz) AddDesigned(choice, filters.iirs);
    AddButterworths(choice.butterworths, filters.iirs);
    const PassedBand band = BandOf(filters.iirs);
    if (band.highestHz < band.lowestHz) {
        const bool areOwn = choice.IsDesigned() || choice.lowPassHz || choice.highPassHz;
        throw ValueError(std::string(areOwn ? "the filters" : "--butterworth") + ": the low-pass at " +
                         FormatNumber(band.highestHz) + " Hz lies below the high-pass at " +
                         FormatNumber(band.lowestHz) + " Hz, which leaves no band");
    }
    if (choice.firFile) filters.firs.push_back(ReadFir(*choice.firFile));
    if (choice.firSet) filters.firs.push_back(BuiltInFir(static_cast<CMatFir::FIR_COEF>(*choice.firSet)));
    for (FirFilter& fir : filters.firs) {
        if (choice.keepDelay) fir.delay = 0;
    }
    if (filters.firs.empty() && filters.iirs.empty())
        throw UsageError(
            "one of --lowpass, --highpass, --bandpass, --bandstop, --notch, --peak, --butterworth, --fir and "
            "--fir-set is required");
    return filters;
}

std::string FilterText(const FilterChoice& choice, const SampleFilters& filters) {
    std::string text;
    for (const FirFilter& fir : filters.firs) {
        const bool isFromFile = text.empty() && choice.firFile;
        const std::string taps = Count(std::ssize(fir.coefficients), "tap");
        text += (text.empty() ? "" : ", ") +
                (isFromFile ? "FIR of " + taps + " from " + InputName(*choice.firFile)
                            : "FIR set " + std::to_string(*choice.firSet) + " of " + taps);
    }
    for (const IirFilter& filter : filters.iirs) text += (text.empty() ? "" : ", ") + kvx::FilterText(filter);
    return text;
}

}  // namespace kvx::tool
