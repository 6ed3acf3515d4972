// SPDX-License-Identifier: MIT
//
// Prints how well CMatMrf changes sampling rates, as the table of docs/numerics.md: scripts/quality-table.
// Everything is measured on the running cascades.

#include <KvxDevCommon01/dsp/MatMrf.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdio>
#include <limits>
#include <numbers>
#include <vector>

namespace {

using Wave = std::vector<double>;

constexpr auto kUp = CMatFir::RATE_INTERPOLATE;
constexpr auto kDown = CMatFir::RATE_DECIMATE;
constexpr double kBandEdge = 1 / 2.56;  // of the lower rate

Wave Convert(CMatFir::RATE_CONV mode, CMatMrf::OVS_RAT code, const Wave& x) {
    const auto count = static_cast<__int64>(x.size());
    CMatMrf cascade;
    cascade.SetConvCond(mode, code, count * CMatMrf::ConvCodeToOvsRat(code), 0);
    cascade.SetInputData(x.data(), 0, count, count);
    Wave y(static_cast<std::size_t>(cascade.GetNumOutputData()));
    cascade.GetOutputData(y.data(), 0, cascade.GetNumOutputData(), cascade.GetNumOutputData());
    return y;
}

double Decibels(double amplitude) {
    return 20 * std::log10(amplitude);
}

/// The gain of a cascade, from its answer to an impulse.
class Response {
public:
    explicit Response(CMatMrf::OVS_RAT code) : ratio_(CMatMrf::ConvCodeToOvsRat(code)) {
        const auto lowRateSamples = static_cast<std::size_t>(2 * kvx::CascadeDelay(code) / ratio_ + 2);
        Wave impulse(lowRateSamples, 0.0);
        impulse[0] = 1.0 / ratio_;
        taps_ = Convert(kUp, code, impulse);
    }

    /// At a frequency in units of the lower rate.
    double At(double frequency) const {
        const auto step = std::polar(1.0, 2 * std::numbers::pi * frequency / ratio_);
        std::complex<double> turn = 1.0, sum = 0.0;
        for (const double tap : taps_) {
            sum += tap * turn;
            turn *= step;
        }
        return std::abs(sum);
    }

    /// The largest deviation from 1 in the band.
    double Ripple() const {
        double ripple = 0.0;
        for (int i = 0; i <= 256; ++i) ripple = std::max(ripple, std::fabs(At(kBandEdge * i / 256) - 1.0));
        return ripple;
    }

    /// The largest gain of what decimation folds into the band, and of what interpolation makes of it.
    double Alias() const {
        double alias = 0.0;
        for (int i = 0; i <= 256; ++i) {
            const double inBand = kBandEdge * i / 256;
            for (int image = 1; image <= ratio_ / 2; ++image) {
                alias = std::max({alias, At(image - inBand), At(image + inBand)});
            }
        }
        return alias;
    }

private:
    int ratio_;
    Wave taps_;
};

/// The worst of sines throughout the band that went down and up again: its power over that of all else [dB].
double WorstSine(CMatMrf::OVS_RAT code) {
    const auto window = static_cast<std::size_t>(200 * CMatMrf::ConvCodeToOvsRat(code));
    double worst = std::numeric_limits<double>::infinity();
    for (int periods = 2; periods <= 78; periods += 2) {
        const double step = 2 * std::numbers::pi * periods / static_cast<double>(window);
        Wave x(2 * window);
        for (std::size_t n = 0; n < x.size(); ++n) x[n] = std::sin(step * static_cast<double>(n));
        const Wave y = Convert(kUp, code, Convert(kDown, code, x));
        // Over whole periods, once the filters have settled.
        std::complex<double> line = 0.0;
        for (std::size_t n = window; n < x.size(); ++n)
            line += y[n] * std::polar(1.0, -step * static_cast<double>(n));
        line *= 2.0 / static_cast<double>(window);
        double rest = 0.0;
        for (std::size_t n = window; n < x.size(); ++n) {
            const double fit = std::real(line * std::polar(1.0, step * static_cast<double>(n)));
            rest += (y[n] - fit) * (y[n] - fit);
        }
        worst = std::min(worst, Decibels(std::abs(line) / std::sqrt(2 * rest / static_cast<double>(window))));
    }
    return worst;
}

}  // namespace

int main() {
    std::puts(
        "| ratio | delay | ripple in the band | aliases, images | at half the lower rate | sine, down and up "
        "|");
    std::puts("|---|---|---|---|---|---|");
    for (int row = 1; row < 20; ++row) {
        const auto code = static_cast<CMatMrf::OVS_RAT>(row);
        const Response response(code);
        std::printf("| %d | %lld | ±%.4f dB | %.1f dB | %.1f dB | %.1f dB |\n",
                    CMatMrf::ConvCodeToOvsRat(code), static_cast<long long>(kvx::CascadeDelay(code)),
                    Decibels(1.0 + response.Ripple()), Decibels(response.Alias()), Decibels(response.At(0.5)),
                    WorstSine(code));
    }
}
