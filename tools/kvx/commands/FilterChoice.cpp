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

using Method = FirRequirements::Method;
struct MethodName {
    std::string_view name;
    Method method;
};
constexpr std::array kMethods = {MethodName{"kaiser", Method::kaiser},
                                 MethodName{"equiripple", Method::equiripple}};

/// How the family is called among the FIR designs; none for a recursive one.
std::optional<Method> MethodOf(const FilterChoice& choice) {
    const auto named = std::ranges::find(kMethods, choice.family.value_or(""), &MethodName::name);
    return named == kMethods.end() ? std::nullopt : std::optional(named->method);
}

std::vector<std::string> FamilyNames() {
    std::vector<std::string> names = NameList(kIirFamilies);
    for (const std::string& name : NameList(kMethods)) names.push_back(name);
    return names;
}

/// A filter of the family, order and ripples that were stated.
IirFilter Pattern(const FilterChoice& choice) {
    IirFilter filter;
    const std::string family = choice.family.value_or("butterworth");
    const auto named = std::ranges::find(kIirFamilies, family, &NamedIirFamily::name);
    if (named == kIirFamilies.end()) throw ValueError("--family: " + NoSuchName(family, FamilyNames()));
    filter.family = named->family;
    if (choice.transitionHz) throw UsageError("--transition is for --family kaiser and equiripple");
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

/// Calls add(pass, corner, upper) for every corner and band.
template <class Add>
void ForEachBand(const FilterChoice& choice, Add add) {
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
}

void AddRecursive(const FilterChoice& choice, std::vector<IirFilter>& filters) {
    const IirFilter pattern = Pattern(choice);
    ForEachBand(choice, [&](Pass pass, double cornerHz, double upperHz) {
        IirFilter& filter = filters.emplace_back(pattern);
        filter.pass = pass;
        filter.cornerHz = cornerHz;
        filter.upperHz = upperHz;
    });
}

void AddDesigns(const FilterChoice& choice, Method method, std::vector<FirRequirements>& designs) {
    if (choice.order || choice.norm)
        throw UsageError("--order and --norm are for recursive filters; --transition makes FIR filters long");
    if (!choice.transitionHz) throw UsageError("--family " + *choice.family + " requires --transition");
    ForEachBand(choice, [&](Pass pass, double cornerHz, double upperHz) {
        FirRequirements& design = designs.emplace_back();
        design.pass = pass;
        design.cornerHz = cornerHz;
        design.upperHz = upperHz;
        design.transitionHz = *choice.transitionHz;
        design.rippleDb = choice.rippleDb.value_or(design.rippleDb);
        design.attenuationDb = choice.attenuationDb.value_or(design.attenuationDb);
        design.method = method;
    });
    if (designs.empty()) throw UsageError("--family " + *choice.family + " requires a corner or a band");
}

void AddResonances(const FilterChoice& choice, std::vector<IirFilter>& filters) {
    const auto add = [&](Pass pass, const std::string& option, const std::vector<std::string>& lists) {
        for (const std::string& list : lists) {
            const std::vector<double> numbers = Positives(option, list, 1);
            IirFilter& filter = filters.emplace_back();
            filter.pass = pass;
            filter.cornerHz = numbers[0];
            if (numbers.size() > 1) filter.q = numbers[1];
        }
    };
    add(Pass::notch, "--notch", choice.notches);
    add(Pass::peak, "--peak", choice.peaks);
}

std::string TextOf(const FilterChoice& choice, const SampleFilters& filters) {
    std::string text;
    for (const FirFilter& fir : filters.firs) {
        const bool isFromFile = text.empty() && choice.firFile;
        const std::string taps = Count(std::ssize(fir.coefficients), "tap");
        text += (text.empty() ? "" : ", ") +
                (isFromFile ? "FIR of " + taps + " from " + InputName(*choice.firFile)
                            : "FIR set " + std::to_string(*choice.firSet) + " of " + taps);
    }
    for (const IirFilter& filter : filters.iirs) text += (text.empty() ? "" : ", ") + FilterText(filter);
    return text;
}

}  // namespace

bool FilterChoice::IsDesigned() const {
    return family || rippleDb || attenuationDb || transitionHz || norm || !bandPasses.empty() ||
           !bandStops.empty() || !notches.empty() || !peaks.empty();
}

void AddCorners(Command& command, FilterChoice* choice) {
    AddPositive(command, "--lowpass", "HZ", choice->lowPassHz, "Keep what lies below this frequency");
    AddPositive(command, "--highpass", "HZ", choice->highPassHz, "Keep what lies above this frequency");
}

void AddSampleFilters(Command& command, FilterChoice* choice) {
    const auto addBand = [&](const std::string& name, std::vector<std::string>& target, const char* text) {
        command.AddOption(name, target, text).Type("HZ,HZ");
    };
    addBand("--bandpass", choice->bandPasses, "Keep what lies between, sample by sample; may be repeated");
    addBand("--bandstop", choice->bandStops, "Keep what lies outside, sample by sample; may be repeated");
    const auto addResonance = [&](const std::string& name, std::vector<std::string>& target,
                                  const char* text) { command.AddOption(name, target, text).Type("HZ[,Q]"); };
    addResonance(
        "--notch", choice->notches,
        "Recursive filter: take a frequency out, -3 dB at a width of HZ/Q, Q 30 unless given; may be "
        "repeated");
    addResonance("--peak", choice->peaks, "Recursive filter: keep a frequency, as wide; may be repeated");
    command
        .AddOption("--family", choice->family,
                   "Family of the filters with corners, of --lowpass and --highpass as well: " +
                       Names(kIirFamilies) + " (default: butterworth), or FIR filters: " + Names(kMethods))
        .Type("NAME")
        .Suggest(FamilyNames());
    AddPositive(
        command, "--ripple", "DB", choice->rippleDb,
        "Ripple in the pass band of chebyshev1 and elliptic (default: 0.5), of FIR filters (default: 0.1)");
    AddPositive(command, "--attenuation", "DB", choice->attenuationDb,
                "Attenuation in the stop band of chebyshev2 and elliptic (default: 60), of FIR filters "
                "(default: 80)");
    AddPositive(command, "--transition", "HZ", choice->transitionHz,
                "Of kaiser and equiripple: from each corner to where the stop band begins");
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

ChosenFilters ReadSampleFilters(const FilterChoice& choice) {
    if (choice.keepDelay && !choice.HasFir()) throw UsageError("--keep-delay is for --fir and --fir-set");
    ChosenFilters chosen;
    SampleFilters& filters = chosen.filters;
    const bool hasCorners = choice.IsDesigned() || choice.lowPassHz || choice.highPassHz;
    if (const auto method = MethodOf(choice)) {
        AddDesigns(choice, *method, chosen.designs);
    } else if (hasCorners) {
        AddRecursive(choice, filters.iirs);
    }
    AddResonances(choice, filters.iirs);
    AddButterworths(choice.butterworths, filters.iirs);
    const PassedBand band = BandOf(filters.iirs);
    if (band.highestHz < band.lowestHz) {
        throw ValueError(std::string(hasCorners ? "the filters" : "--butterworth") + ": the low-pass at " +
                         FormatNumber(band.highestHz) + " Hz lies below the high-pass at " +
                         FormatNumber(band.lowestHz) + " Hz, which leaves no band");
    }
    if (choice.firFile) filters.firs.push_back(ReadFir(*choice.firFile));
    if (choice.firSet) filters.firs.push_back(BuiltInFir(static_cast<CMatFir::FIR_COEF>(*choice.firSet)));
    for (FirFilter& fir : filters.firs) {
        if (choice.keepDelay) fir.delay = 0;
    }
    if (filters.firs.empty() && filters.iirs.empty() && chosen.designs.empty()) {
        throw UsageError(
            "one of --lowpass, --highpass, --bandpass, --bandstop, --notch, --peak, --butterworth, --fir and "
            "--fir-set is required");
    }
    chosen.text = TextOf(choice, filters);
    return chosen;
}

FittedFilters FiltersAt(const ChosenFilters& chosen, double rateHz) {
    FittedFilters fitted = {chosen.filters, chosen.text};
    for (const IirFilter& filter : chosen.filters.iirs) RequireFilter(filter, rateHz);
    for (const FirRequirements& requirements : chosen.designs) {
        DesignedFir design = DesignFir(requirements, rateHz);
        fitted.text += (fitted.text.empty() ? "" : ", ") + FilterText(requirements) + ", " +
                       Count(std::ssize(design.filter.coefficients), "tap") + ", ripple " +
                       FormatNumber(design.rippleDb, 4) + " dB, attenuation " +
                       FormatNumber(design.attenuationDb, 4) + " dB";
        fitted.filters.firs.push_back(std::move(design.filter));
    }
    return fitted;
}

}  // namespace kvx::tool
