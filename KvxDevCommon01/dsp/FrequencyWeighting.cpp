// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/FrequencyWeighting.h>
#include <KvxDevCommon01/platform/Error.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

namespace kvx {
namespace {

constexpr double kReferenceHz = 1000.0;

/// The frequencies of the poles (IEC 61672-1:2013, E.2 to E.4).
struct Poles {
    double f1, f2, f3, f4;
};

const Poles& PolesOf() {
    static const Poles poles = [] {
        const double low = std::pow(10.0, 1.5);   // -3 dB of C
        const double high = std::pow(10.0, 3.9);  // -3 dB of C
        const double middle = std::pow(10.0, 2.45);
        const double d = 1.0 / std::numbers::sqrt2;
        const double square = kReferenceHz * kReferenceHz;
        const double c = low * low * high * high;
        const double b = (square + c / square - d * (low * low + high * high)) / (1.0 - d);
        const double root = std::sqrt(b * b - 4.0 * c);
        const double high4 = 0.5 * (-b + root);
        return Poles{std::sqrt(c / high4), 0.5 * (3.0 - std::sqrt(5.0)) * middle,
                     0.5 * (3.0 + std::sqrt(5.0)) * middle, std::sqrt(high4)};
    }();
    return poles;
}

/// Before it is normalised; of what may be infinite, 0.
double RawGain(FrequencyWeighting weighting, double hz) {
    const auto& [f1, f2, f3, f4] = PolesOf();
    const double f = std::abs(hz);
    const double c =
        f / std::hypot(f, f1) * (f / std::hypot(f, f1)) * (f4 / std::hypot(f, f4)) * (f4 / std::hypot(f, f4));
    return weighting == FrequencyWeighting::kA ? c * (f / std::hypot(f, f2)) * (f / std::hypot(f, f3)) : c;
}

// ---- on samples ----

/// y = gain (x - zero x1) + pole y1, from rest.
struct Section {
    double gain, zero, pole;
    double x1 = 0.0, y1 = 0.0;
};

/// The root inside the unit circle of 1 + c phi as a product |1 - r/z|^2 / (1 - r)^2, phi = sin^2(w/2).
double RootOf(double c) {
    return c / (c + 2.0 + 2.0 * std::sqrt(c + 1.0));
}

// f^2 as a rational function of phi = sin^2(pi f), f over the rate: P/Q with
//   P = phi/pi^2 + p2 phi^2, Q = 1 + q1 phi + q2 phi^2.
// The coefficients make the largest relative error over 0 < f <= 0.47 the least (0.61 %, or 0.027 dB of a
// pole), with the limit at 0 exact.
constexpr double kP1 = 1.0 / (std::numbers::pi * std::numbers::pi);
constexpr double kP2 = -0.08880788611875086;
constexpr double kQ1 = -1.241277045198228;
constexpr double kQ2 = 0.29553614993894234;

/// The sections of a pole at `corner` of the rate: of the low-pass 1/(1 + f^2/fc^2), in power, or with
/// f^2/fc^2 above that of the high-pass. With P/Q for f^2 both are quotients of polynomials of phi, whose
/// factors 1 + c phi are those of sections.
void AppendPole(double corner, bool isHighPass, std::vector<Section>& sections) {
    const double x = 1.0 / (corner * corner);
    const auto factors = [](double sum, double product) {
        const double root = std::sqrt(std::max(0.0, 0.25 * sum * sum - product));
        const double large = 0.5 * sum + std::copysign(root, sum);
        return std::array{large, large == 0.0 ? 0.0 : product / large};
    };
    std::array<double, 2> poles = factors(kQ1 + x * kP1, kQ2 + x * kP2);
    for (double& pole : poles) pole = RootOf(pole);
    double gain = (1.0 - poles[0]) * (1.0 - poles[1]);
    std::array<double, 2> zeros = {1.0, RootOf(kP2 / kP1)};
    if (isHighPass) {
        // phi is |1 - 1/z|^2 / 4.
        gain *= 0.5 * std::sqrt(x * kP1) / (1.0 - zeros[1]);
    } else {
        zeros = factors(kQ1, kQ2);
        for (double& zero : zeros) zero = RootOf(zero);
        gain /= (1.0 - zeros[0]) * (1.0 - zeros[1]);
    }
    // The pole nearest to 1 belongs to the zero at 1.
    std::ranges::sort(poles, std::greater());
    sections.push_back({gain, zeros[0], poles[0]});
    sections.push_back({1.0, zeros[1], poles[1]});
}

class Weighting : public SampleProcess {
public:
    Weighting(FrequencyWeighting weighting, double rateHz) {
        const auto& [f1, f2, f3, f4] = PolesOf();
        std::vector<double> highPasses = {f1, f1};
        if (weighting == FrequencyWeighting::kA) highPasses.insert(highPasses.end(), {f2, f3});
        for (const double pole : highPasses) AppendPole(pole / rateHz, true, sections_);
        for (int i = 0; i < 2; ++i) AppendPole(f4 / rateHz, false, sections_);
        sections_.front().gain /= RawGain(weighting, kReferenceHz);
    }

    void Feed(std::span<const double> samples, std::vector<double>& results) override {
        constexpr std::size_t kRestEvery = 64;
        const std::size_t begin = results.size();
        results.insert(results.end(), samples.begin(), samples.end());
        for (std::span<double> rest = std::span(results).subspan(begin); !rest.empty();) {
            const std::span<double> piece = rest.first(std::min(rest.size(), kRestEvery - sinceRest_));
            Run(piece);
            rest = rest.subspan(piece.size());
            sinceRest_ = (sinceRest_ + piece.size()) % kRestEvery;
            if (sinceRest_ == 0) Rest();
        }
    }
    void Finish(std::vector<double>&) override {}

private:
    void Run(std::span<double> samples) {
        for (Section& section : sections_) {
            Section own = section;
            for (double& sample : samples) {
                own.y1 = own.gain * (sample - own.zero * own.x1) + own.pole * own.y1;
                own.x1 = sample;
                sample = own.y1;
            }
            section = own;
        }
    }

    /// Lets what a signal leaves behind in silence end in zeros instead of subnormal numbers.
    void Rest() {
        for (Section& section : sections_) {
            if (std::abs(section.y1) < 0x1p-512) section.y1 = 0.0;
            if (std::abs(section.x1) < 0x1p-512) section.x1 = 0.0;
        }
    }

    std::vector<Section> sections_;
    std::size_t sinceRest_ = 0;
};

}  // namespace

std::string_view NameOf(FrequencyWeighting weighting) {
    return std::ranges::find(kWeightings, weighting, &NamedWeighting::weighting)->name;
}

double WeightingGain(FrequencyWeighting weighting, double hz) {
    if (weighting == FrequencyWeighting::kZ) return 1.0;
    return RawGain(weighting, hz) / RawGain(weighting, kReferenceHz);
}

LineSpectrum Weighted(LineSpectrum spectrum, FrequencyWeighting weighting) {
    if (spectrum.kind == LineKind::kCoherence)
        throw Error(ErrorKind::kBadValue, "a coherence is not weighted");
    for (std::size_t k = 0; k < spectrum.real.size(); ++k) {
        double gain = WeightingGain(weighting, spectrum.FrequencyOf(static_cast<std::int64_t>(k)));
        if (spectrum.kind == LineKind::kDensity) gain *= gain;
        spectrum.real[k] *= gain;
        if (!spectrum.imaginary.empty()) spectrum.imaginary[k] *= gain;
    }
    return spectrum;
}

std::unique_ptr<SampleProcess> MakeWeighting(FrequencyWeighting weighting, double rateHz) {
    if (!(rateHz > 0.0) || !std::isfinite(rateHz))
        throw Error(ErrorKind::kBadValue, "a sampling rate is a number above 0");
    if (weighting == FrequencyWeighting::kZ) return MakeChain({});
    return std::make_unique<Weighting>(weighting, rateHz);
}

}  // namespace kvx
