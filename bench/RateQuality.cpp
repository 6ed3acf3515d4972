// SPDX-License-Identifier: MIT
//
// Prints how well CMatMrf changes sampling rates, as the table of docs/numerics.md: scripts/quality-table.
// Everything is measured on the running cascades.

#include <KvxDevCommon01/dsp/MatMrf.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdio>
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

/// Power of the sine of this frequency in the second half of `x` over that of all else there [dB].
double SineToRest(const Wave& x, double frequency) {
    const auto turn = [frequency](std::size_t n) {
        return std::polar(1.0, 2 * std::numbers::pi * frequency * static_cast<double>(n));
    };
    double ss = 0, sc = 0, cc = 0, sx = 0, cx = 0;
    for (std::size_t n = x.size() / 2; n < x.size(); ++n) {
        const double s = turn(n).imag(), c = turn(n).real();
        ss += s * s;
        sc += s * c;
        cc += c * c;
        sx += s * x[n];
        cx += c * x[n];
    }
    const double a = (sx * cc - cx * sc) / (ss * cc - sc * sc), b = (cx * ss - sx * sc) / (ss * cc - sc * sc);
    double sine = 0, rest = 0;
    for (std::size_t n = x.size() / 2; n < x.size(); ++n) {
        const double fit = a * turn(n).imag() + b * turn(n).real();
        sine += fit * fit;
        rest += (x[n] - fit) * (x[n] - fit);
    }
    return 10 * std::log10(sine / rest);
}

/// The worst of sines throughout the band that went down and up again.
double WorstSine(CMatMrf::OVS_RAT code) {
    const int ratio = CMatMrf::ConvCodeToOvsRat(code);
    double worst = 1000.0;
    for (int percent = 1; percent <= 39; ++percent) {
        const double frequency = 0.01 * percent / ratio;
        Wave x(static_cast<std::size_t>(400 * ratio));
        for (std::size_t n = 0; n < x.size(); ++n) {
            x[n] = std::sin(2 * std::numbers::pi * frequency * static_cast<double>(n));
        }
        worst = std::min(worst, SineToRest(Convert(kUp, code, Convert(kDown, code, x)), frequency));
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
