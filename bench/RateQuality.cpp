// SPDX-License-Identifier: MIT
//
// Prints how well CMatMrf changes sampling rates, as the table of docs/numerics.md: scripts/quality-table.
// The response is the answer of a running cascade to an impulse. Its worst places are looked for on a dense
// grid and then between the lines of the grid; the worst sine is sent through running cascades.

#include <KvxDevCommon01/dsp/MatMrf.h>

#include <algorithm>
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

/// The next decimal number of so many digits that is not better.
double RoundedUp(double value, double digits) {
    const double scale = std::pow(10.0, digits);
    return std::ceil(value * scale) / scale;
}

/// The highest place of a curve that has been found.
struct Peak {
    double at = 0.0;
    double height = 0.0;

    /// Looks at curve(x) for low <= x <= high. Lobes of a response are about 0.05 wide.
    template <class Curve>
    void LookAt(double low, double high, Curve curve) {
        constexpr double kGrid = 0.004;
        constexpr double kSeenByGrid = 0.9;  // of its height a lobe shows at least so much on the grid
        const int steps = std::max(1, static_cast<int>(std::ceil((high - low) / kGrid)));
        const auto place = [&](int i) { return std::min(high, low + (high - low) / steps * i); };
        Wave grid;
        for (int i = 0; i <= steps; ++i) grid.push_back(curve(place(i)));
        const double highest = std::max(height, *std::ranges::max_element(grid));
        for (int i = 0; i <= steps; ++i) {
            const auto here = grid.begin() + i;
            const bool isTop = (i == 0 || here[-1] <= *here) && (i == steps || *here >= here[1]);
            if (isTop && *here >= kSeenByGrid * highest)
                Climb(place(std::max(i - 1, 0)), place(std::min(i + 1, steps)), curve);
        }
    }

private:
    template <class Curve>
    void Climb(double left, double right, Curve curve) {
        for (int cut = 0; cut < 30; ++cut) {
            const double third = (right - left) / 3;
            if (curve(left + third) < curve(right - third)) {
                left += third;
            } else {
                right -= third;
            }
        }
        for (const double x : {left, right}) {
            if (const double y = curve(x); y >= height) {
                at = x;
                height = y;
            }
        }
    }
};

/// The gain of a cascade, from its answer to an impulse. Frequencies are in units of the lower rate.
class Response {
public:
    explicit Response(CMatMrf::OVS_RAT code) : ratio_(CMatMrf::ConvCodeToOvsRat(code)) {
        const auto lowRateSamples = static_cast<std::size_t>(2 * kvx::CascadeDelay(code) / ratio_ + 2);
        Wave impulse(lowRateSamples, 0.0);
        impulse[0] = 1.0 / ratio_;
        taps_ = Convert(kUp, code, impulse);
    }

    double At(double frequency) const {
        const auto step = std::polar(1.0, 2 * std::numbers::pi * frequency / ratio_);
        std::complex<double> turn = 1.0, sum = 0.0;
        for (const double tap : taps_) {
            sum += tap * turn;
            turn *= step;
        }
        return std::abs(sum);
    }

    /// The largest deviation from 0 dB in the band [dB].
    double Ripple() const {
        Peak peak;
        peak.LookAt(0.0, kBandEdge, [this](double f) { return std::fabs(Decibels(At(f))); });
        return peak.height;
    }

    /// The largest gain of what decimation folds into the band, and of what interpolation makes of it.
    double Alias() const {
        Peak peak;
        for (int image = 1; image <= ratio_ / 2; ++image) {
            peak.LookAt(image - kBandEdge, std::min(image + kBandEdge, 0.5 * ratio_),
                        [this](double f) { return At(f); });
        }
        return peak.height;
    }

    /// The frequency in the band at which the images of a line have the most power beside that of the line.
    double WorstLine() const {
        Peak peak;
        peak.LookAt(0.0, kBandEdge, [this](double f) {
            // Line and images together, by Parseval's theorem: the powers of the taps' phases.
            double all = 0.0;
            for (int phase = 0; phase < ratio_; ++phase) {
                std::complex<double> sum = 0.0;
                for (std::size_t tap = static_cast<std::size_t>(phase), n = 0; tap < taps_.size();
                     tap += static_cast<std::size_t>(ratio_), ++n)
                    sum += taps_[tap] * std::polar(1.0, 2 * std::numbers::pi * f * static_cast<double>(n));
                all += ratio_ * std::norm(sum);
            }
            const double line = At(f) * At(f);
            return (all - line) / line;
        });
        return peak.at;
    }

private:
    int ratio_;
    Wave taps_;
};

/// The worst of the sines in the band that went down and up again: its power over that of all else [dB].
double WorstSine(CMatMrf::OVS_RAT code, const Response& response) {
    constexpr double kWindow = 2048.0;  // of the lower rate's samples: whole periods, at the band's edge too
    constexpr double kSettling = 200.0;
    const double periods = std::max(1.0, std::round(response.WorstLine() * kWindow));
    const double ratio = CMatMrf::ConvCodeToOvsRat(code);
    const auto begin = static_cast<std::size_t>(kSettling * ratio);
    const double window = kWindow * ratio, step = 2 * std::numbers::pi * periods / window;
    Wave x(begin + static_cast<std::size_t>(window));
    for (std::size_t n = 0; n < x.size(); ++n) x[n] = std::sin(step * static_cast<double>(n));
    const Wave y = Convert(kUp, code, Convert(kDown, code, x));
    std::complex<double> line = 0.0;
    for (std::size_t n = begin; n < x.size(); ++n)
        line += y[n] * std::polar(1.0, -step * static_cast<double>(n));
    line *= 2.0 / window;
    double rest = 0.0;
    for (std::size_t n = begin; n < x.size(); ++n) {
        const double fit = std::real(line * std::polar(1.0, step * static_cast<double>(n)));
        rest += (y[n] - fit) * (y[n] - fit);
    }
    return Decibels(std::abs(line) / std::sqrt(2 * rest / window));
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
                    RoundedUp(response.Ripple(), 4), RoundedUp(Decibels(response.Alias()), 1),
                    Decibels(response.At(0.5)), -RoundedUp(-WorstSine(code, response), 1));
    }
}
