// SPDX-License-Identifier: MIT
#include "commands/SampleFilters.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <utility>

#include <KvxDevCommon01/dsp/MatFir.h>
#include <KvxRecording01/TextTable.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/Progress.h"
#include "cli/StandardStreams.h"

namespace kvx::tool {
namespace {

/// Coefficients h[0], h[1] ... of y[n] = sum of h[k] x[n - k]: the numbers of a text in one column or one
/// row.
std::vector<double> ReadCoefficients(const std::string& path) {
    constexpr __int64 kMost = 1 << 20;
    Progress progress("reading " + InputName(path));
    const std::unique_ptr<RecordingReader> text =
        OpenTextTable(OpenTextFile(InputPath(path)), {false, false}, progress.Function());
    const std::size_t columns = text->Info().channels.size();
    const __int64 rows = text->Info().samples;
    if (columns > 1 && rows > 1)
        throw Error(ErrorKind::kBadValue, "coefficients stand in one column or one row");
    if (rows > kMost) throw Error(ErrorKind::kBadValue, "it has more than 1048576 coefficients");
    std::vector<double> values(columns * static_cast<std::size_t>(rows));
    std::vector<double*> targets;
    for (std::size_t c = 0; c < columns; ++c) targets.push_back(&values[c]);
    text->Read(targets, static_cast<std::size_t>(rows));
    return values;
}

/// Whether the filter delays all frequencies alike, up to the rounding of printed coefficients.
bool IsSymmetric(const std::vector<double>& values) {
    constexpr double kPrinted = 1e-6;
    double largest = 0.0;
    double even = 0.0;
    double odd = 0.0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double mirrored = values[values.size() - 1 - i];
        largest = std::max(largest, std::abs(values[i]));
        even = std::max(even, std::abs(values[i] - mirrored));
        odd = std::max(odd, std::abs(values[i] + mirrored));
    }
    return std::min(even, odd) <= kPrinted * largest;
}

}  // namespace

void AddSampleFilterOptions(Command& command, SampleFilterOptions* options) {
    command
        .AddOption("--butterworth", options->butterworths,
                   "Recursive filter: lp or hp, order from 1 to 64 and corner in Hz; may be repeated")
        .Type("PASS ORDER HZ")
        .Values(3);
    command
        .AddOption("--fir", options->firFile,
                   "FIR filter: text file of its coefficients in one column or one row")
        .Type("FILE");
    command.AddOption("--fir-set", options->firSet, "FIR filter: built-in low-pass of a rate change, 0 to 5")
        .Type("SET")
        .Check(WholeNumber(0, 5));
    command.AddFlag("--keep-delay", options->keepDelay,
                    "Leave the delay of --fir and --fir-set in the signal");
}

SampleFilters::SampleFilters(const SampleFilterOptions& options, std::optional<Ends> ends)
    : butterworths_(ReadButterworths(options.butterworths)),
      ends_(ends.value_or(std::ranges::all_of(butterworths_, &Butterworth::isLowPass) ? Ends::held
                                                                                      : Ends::zero)) {
    if (options.firFile) firs_.push_back(ReadFir(*options.firFile));
    if (options.firSet) firs_.push_back(BuiltInFir(*options.firSet));
    for (Fir& fir : firs_) {
        if (options.keepDelay) fir.delay = 0;
    }
}

std::vector<SampleFilters::Butterworth> SampleFilters::ReadButterworths(
    const std::vector<std::string>& values) {
    constexpr double kHighestOrder = 64.0;
    std::vector<Butterworth> filters;
    double lowestHz = 0.0;  // of the band that passes all filters
    double highestHz = std::numeric_limits<double>::infinity();
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
        filters.push_back({pass == "lp", static_cast<std::int32_t>(order), cornerHz});
        if (pass == "lp") highestHz = std::min(highestHz, cornerHz);
        if (pass == "hp") lowestHz = std::max(lowestHz, cornerHz);
    }
    if (highestHz < lowestHz) {
        throw ValueError("--butterworth: the low-pass at " + FormatNumber(highestHz) +
                         " Hz lies below the high-pass at " + FormatNumber(lowestHz) +
                         " Hz, which leaves no band");
    }
    return filters;
}

SampleFilters::Fir SampleFilters::ReadFir(const std::string& path) {
    std::vector<double> values = Doing("read", path, [&] { return ReadCoefficients(path); });
    const auto count = std::ssize(values);
    Fir filter = {"FIR of " + Count(count, "tap") + " from " + InputName(path), {}, 0};
    if (!IsSymmetric(values)) {
        Note("the coefficients are not symmetric; what they delay, stays delayed");
    } else {
        filter.delay = (count - 1) / 2;
        if (count % 2 == 0) Note("an even number of taps leaves a delay of half a sample");
    }
    std::ranges::reverse(values);
    if (!filter.coefficients.SetData(count, values.data())) throw std::bad_alloc();
    return filter;
}

SampleFilters::Fir SampleFilters::BuiltInFir(__int64 set) {
    CMatFir fir;
    Fir filter = {"", {}, 0};
    fir.SetStdCoef(static_cast<CMatFir::FIR_COEF>(set), 0);
    filter.delay = static_cast<__int64>(fir.GetCoef(&filter.coefficients));
    if (filter.coefficients.GetNum() == 0) throw std::bad_alloc();
    filter.name = "FIR set " + std::to_string(set) + " of " + Count(filter.coefficients.GetNum(), "tap");
    return filter;
}

void SampleFilters::RequireRate(double rateHz) const {
    for (const Butterworth& filter : butterworths_) RequireCorner(filter.cornerHz, rateHz);
}

std::unique_ptr<ChannelProcess> SampleFilters::Make(const SignalRun& run) const {
    std::vector<std::unique_ptr<ChannelProcess>> links;
    for (const Fir& fir : firs_) {
        const __int64 taps = fir.coefficients.GetNum();
        links.push_back(MakeFir(fir.coefficients, {taps, taps + fir.delay, run.samples}, ends_));
    }
    for (const auto& [isLowPass, order, cornerHz] : butterworths_) {
        links.push_back(MakeButterworth(isLowPass, order, cornerHz * run.delta, ends_));
    }
    return MakeChain(std::move(links));
}

std::string SampleFilters::Text() const {
    std::string text;
    for (const Fir& fir : firs_) text += (text.empty() ? "" : ", ") + fir.name;
    for (const Butterworth& filter : butterworths_) {
        text += std::string(text.empty() ? "" : ", ") + "butterworth " + (filter.isLowPass ? "low" : "high") +
                "-pass of order " + std::to_string(filter.order) + " at " + FormatNumber(filter.cornerHz) +
                " Hz";
    }
    return text;
}

void RequireCorner(double cornerHz, double rateHz) {
    if (cornerHz < 0.5 * rateHz) return;
    throw Error(ErrorKind::kBadValue, "a corner of " + FormatNumber(cornerHz) +
                                          " Hz is not below half its rate of " + FormatNumber(rateHz, 10) +
                                          " Hz");
}

}  // namespace kvx::tool
