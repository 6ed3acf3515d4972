// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/FirDesign.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <string>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>

namespace kvx {
namespace {

using std::numbers::pi;

/// The modified Bessel function of order 0 by its series, all of whose terms are above 0.
double BesselI0(double x) {
    const double quarter = 0.25 * x * x;
    double term = 1.0;
    double sum = 1.0;
    for (int k = 1; term > 1e-17 * sum; ++k) {
        term *= quarter / (static_cast<double>(k) * k);
        sum += term;
    }
    return sum;
}

void RequireBands(std::span<const FirBand> bands) {
    double end = -1.0;
    for (const FirBand& band : bands) {
        const bool isInOrder = band.low >= 0.0 && band.low > end && band.low < band.high && band.high <= 0.5;
        if (!isInOrder || !std::isfinite(band.gain) || !(band.weight > 0.0) || !std::isfinite(band.weight)) {
            throw Error(ErrorKind::kBadValue, "the band from " + FormatNumber(band.low) + " to " +
                                                  FormatNumber(band.high) +
                                                  " of the rate is out of order, range or weight");
        }
        end = band.high;
    }
    if (bands.empty()) throw Error(ErrorKind::kBadValue, "a filter has one or more bands");
}

void RequireTaps(std::size_t taps, std::size_t least, std::size_t most, std::span<const FirBand> bands) {
    if (taps < least || taps > most) {
        throw Error(ErrorKind::kBadValue, std::to_string(taps) + " taps are not from " +
                                              std::to_string(least) + " to " + std::to_string(most));
    }
    if (taps % 2 == 0 && bands.back().high == 0.5 && bands.back().gain != 0.0) {
        throw Error(ErrorKind::kBadValue, "an even number of taps, " + std::to_string(taps) +
                                              ", lets nothing pass at half the rate");
    }
}

/// The gain of symmetric coefficients, which has a sign.
double Amplitude(std::span<const double> h, double part) {
    const double middle = 0.5 * static_cast<double>(h.size() - 1);
    double sum = 0.0;
    for (std::size_t k = 0; k < h.size(); ++k)
        sum += h[k] * std::cos(2.0 * pi * part * (static_cast<double>(k) - middle));
    return sum;
}

}  // namespace

double KaiserBeta(double attenuationDb) {
    if (attenuationDb > 50.0) return 0.1102 * (attenuationDb - 8.7);
    if (attenuationDb > 21.0)
        return 0.5842 * std::pow(attenuationDb - 21.0, 0.4) + 0.07886 * (attenuationDb - 21.0);
    return 0.0;
}

double KaiserTaps(double attenuationDb, double width) {
    return std::ceil((attenuationDb - 7.95) / (2.285 * 2.0 * pi * width) + 1.0);
}

double KaiserWindow(double part, double beta) {
    return BesselI0(beta * std::sqrt(std::max(0.0, 1.0 - part * part))) / BesselI0(beta);
}

std::vector<double> DesignKaiser(std::size_t taps, double beta, std::span<const FirBand> bands) {
    RequireBands(bands);
    RequireTaps(taps, 1, 100000, bands);
    const double middle = 0.5 * static_cast<double>(taps - 1);
    std::vector<double> h(taps, 0.0);
    for (std::size_t b = 0; b < bands.size(); ++b) {
        if (bands[b].gain == 0.0) continue;
        const double low =
            b == 0 ? (bands[b].low == 0.0 ? 0.0 : bands[b].low) : 0.5 * (bands[b - 1].high + bands[b].low);
        const double high = b + 1 == bands.size() ? bands[b].high : 0.5 * (bands[b].high + bands[b + 1].low);
        for (std::size_t k = 0; k < taps; ++k) {
            const double time = static_cast<double>(k) - middle;
            const auto sinc = [&](double edge) {
                return time == 0.0 ? 2.0 * edge : std::sin(2.0 * pi * edge * time) / (pi * time);
            };
            h[k] += bands[b].gain * (sinc(high) - sinc(low));
        }
    }
    for (std::size_t k = 0; k < taps; ++k)
        h[k] *= middle == 0.0 ? 1.0 : KaiserWindow((static_cast<double>(k) - middle) / middle, beta);
    const auto passing = std::ranges::find_if(bands, [](const FirBand& band) { return band.gain != 0.0; });
    if (passing == bands.end()) throw Error(ErrorKind::kBadValue, "no band of the filter passes");
    const double place = passing->low == 0.0    ? 0.0
                         : passing->high == 0.5 ? 0.5
                                                : 0.5 * (passing->low + passing->high);
    const double scale = passing->gain / Amplitude(h, place);
    for (double& coefficient : h) coefficient *= scale;
    return h;
}

double WorstError(std::span<const double> coefficients, const FirBand& band) {
    const auto points = static_cast<std::size_t>(
        std::ceil(64.0 * static_cast<double>(coefficients.size()) * (band.high - band.low)) + 16.0);
    double worst = 0.0;
    for (std::size_t i = 0; i <= points; ++i) {
        const double part =
            band.low + (band.high - band.low) * static_cast<double>(i) / static_cast<double>(points);
        worst = std::max(worst, std::abs(std::abs(Amplitude(coefficients, part)) - std::abs(band.gain)));
    }
    return worst;
}

}  // namespace kvx
