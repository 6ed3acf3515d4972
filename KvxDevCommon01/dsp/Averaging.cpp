// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/Averaging.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/NearNames.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <numbers>

namespace kvx {
namespace {

// In the order of their values.
constexpr std::array<std::string_view, 4> kModes = {"linear", "exponential", "peak-hold", "minimum"};
constexpr std::array<std::string_view, 3> kDetrends = {"none", "mean", "linear"};

template <class Names>
std::size_t PlaceOf(std::string_view name, const Names& names) {
    const auto found = std::ranges::find(names, name);
    if (found == names.end())
        throw Error(ErrorKind::kUnknownName, NoSuchName(name, {names.begin(), names.end()}));
    return static_cast<std::size_t>(found - names.begin());
}

/// x^a e^-x/gamma(a + 1). Of a large `a` by Stirling's series, so that no large logarithms cancel.
double GammaDensity(double a, double x) {
    constexpr double kLarge = 10.0;
    if (a < kLarge) return std::pow(x, a) * std::exp(-x) / std::tgamma(a + 1.0);
    const double distance = (x - a) / a;
    const double square = 1.0 / (a * a);
    const double series =
        (1.0 / 12.0 - square * (1.0 / 360.0 - square * (1.0 / 1260.0 - square / 1680.0))) / a;
    return std::exp(a * (std::log1p(distance) - distance) - series) / std::sqrt(2.0 * std::numbers::pi * a);
}

/// What lies of the gamma distribution of shape `a` below or above a place; the smaller part is exact in
/// itself.
struct Parts {
    double below;
    double above;
};

Parts GammaParts(double a, double x) {
    constexpr double kEnough = 1e-16;
    const double density = GammaDensity(a, x);
    if (x < a + 1.0) {
        double sum = 1.0;
        double term = 1.0;
        for (double k = 1.0; term > kEnough * sum; ++k) {
            term *= x / (a + k);
            sum += term;
        }
        return {density * sum, 1.0 - density * sum};
    }
    // The continued fraction of the upper part, by Lentz's method.
    constexpr double kTiny = 1e-300;
    double b = x + 1.0 - a;
    double c = 1.0 / kTiny;
    double d = 1.0 / b;
    double fraction = d;
    for (double k = 1.0;; ++k) {
        const double step = k * (a - k);
        b += 2.0;
        d = step * d + b;
        d = 1.0 / (std::fabs(d) < kTiny ? kTiny : d);
        c = b + step / c;
        if (std::fabs(c) < kTiny) c = kTiny;
        fraction *= d * c;
        if (std::fabs(d * c - 1.0) < kEnough * 4.0) break;
    }
    return {1.0 - density * a * fraction, density * a * fraction};
}

}  // namespace

std::vector<std::string> AverageModeNames() {
    return {kModes.begin(), kModes.end()};
}

AverageMode NamedAverageMode(std::string_view name) {
    return static_cast<AverageMode>(PlaceOf(name, kModes));
}

std::string_view NameOf(AverageMode mode) {
    return kModes.at(static_cast<std::size_t>(mode));
}

std::vector<std::string> DetrendNames() {
    return {kDetrends.begin(), kDetrends.end()};
}

Detrend NamedDetrend(std::string_view name) {
    return static_cast<Detrend>(PlaceOf(name == "constant" ? "mean" : name, kDetrends));
}

std::string_view NameOf(Detrend detrend) {
    return kDetrends.at(static_cast<std::size_t>(detrend));
}

double ExponentialWeight(double timeConstantSeconds, double intervalSeconds) {
    if (!(timeConstantSeconds > 0.0) || !(intervalSeconds > 0.0))
        throw Error(ErrorKind::kBadValue, "a time constant is above 0 s");
    return -std::expm1(-intervalSeconds / timeConstantSeconds);
}

std::vector<double> BlockCorrelations(std::span<const double> window, std::int64_t step, std::int64_t most) {
    if (step < 1) throw Error(ErrorKind::kBadValue, "blocks follow one another by a sample or more");
    double power = 0.0;
    for (const double w : window) power += w * w;
    std::vector<double> correlations;
    const std::int64_t size = std::ssize(window);
    for (std::int64_t shift = step; shift < size && std::ssize(correlations) < most; shift += step) {
        double product = 0.0;
        for (std::int64_t n = shift; n < size; ++n)
            product += window[static_cast<std::size_t>(n)] * window[static_cast<std::size_t>(n - shift)];
        const double ratio = product / power;
        correlations.push_back(ratio * ratio);
    }
    return correlations;
}

ConfidenceLimits ConfidenceOf(double degreesOfFreedom, double level) {
    if (!(level > 0.0 && level < 1.0))
        throw Error(ErrorKind::kBadValue, "a level of confidence lies between 0 and 1");
    return {degreesOfFreedom / ChiSquareQuantile(0.5 + 0.5 * level, degreesOfFreedom),
            degreesOfFreedom / ChiSquareQuantile(0.5 - 0.5 * level, degreesOfFreedom)};
}

double ChiSquareQuantile(double probability, double degreesOfFreedom) {
    if (!(degreesOfFreedom > 0.0) || !std::isfinite(degreesOfFreedom))
        throw Error(ErrorKind::kBadValue, "degrees of freedom are a number above 0");
    if (!(probability > 0.0 && probability < 1.0))
        throw Error(ErrorKind::kBadValue, "a probability lies between 0 and 1");
    const double a = 0.5 * degreesOfFreedom;
    // Newton's steps within limits that close in; a step that leaves them becomes their middle.
    double low = 0.0;
    double high = 2.0 * a + 40.0 * std::sqrt(a) + 1500.0;
    double x = a;
    for (int i = 0; i < 200; ++i) {
        const Parts parts = GammaParts(a, x);
        const double excess =
            probability < 0.5 ? parts.below - probability : (1.0 - probability) - parts.above;
        (excess > 0.0 ? high : low) = x;
        double next = x - excess * x / (a * GammaDensity(a, x));
        if (!(next > low && next < high)) next = 0.5 * (low + high);
        const double change = std::fabs(next - x);
        x = next;
        if (change <= 1e-14 * x) break;
    }
    return 2.0 * x;
}

}  // namespace kvx
