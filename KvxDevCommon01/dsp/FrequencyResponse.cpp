// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/FrequencyResponse.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>
#include <optional>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>

namespace kvx {
namespace {

using std::numbers::pi;
using Complex = std::complex<double>;

/// Sine and cosine of pi part, both to their own precision.
struct HalfAngle {
    double sine;
    double cosine;

    explicit HalfAngle(double part) {
        const double turn = std::remainder(part, 1.0);  // H repeats, up to a sign that cancels in ratios
        const double size = std::abs(turn);
        sine = size <= 0.25 ? std::sin(pi * size) : std::cos(pi * (0.5 - size));
        cosine = size <= 0.25 ? std::cos(pi * size) : std::sin(pi * (0.5 - size));
        if (turn < 0.0) sine = -sine;
    }
};

/// n0 + n1 s + n2 s^2 times cos^2, or of the first order times cos, at s = i tan, with the change of its
/// phase by the angle 2 pi f/rate.
struct Value {
    Complex value;
    double slope = 0.0;

    Value(const std::array<double, 3>& n, bool isFirstOrder, const HalfAngle& at) {
        const double cosine = isFirstOrder ? 1.0 : at.cosine;
        const double low = n[0] * at.cosine * cosine;
        const double high = n[2] * at.sine * at.sine;
        value = {low - high, n[1] * at.sine * cosine};
        // Without n1 the polynomial is real and its phase only jumps, as it does in a zero.
        if (n[1] != 0.0 && value != 0.0)
            slope = 0.5 * n[1] * (isFirstOrder ? n[0] : low + high) / std::norm(value);
    }
};

void RequireRate(double rateHz) {
    if (rateHz > 0.0 && std::isfinite(rateHz)) return;
    throw Error(ErrorKind::kBadValue, "a sampling rate of " + FormatNumber(rateHz) + " Hz is not above 0");
}

std::vector<ResponsePoint> PointsAt(std::span<const double> hz) {
    std::vector<ResponsePoint> points;
    for (const double frequency : hz) points.push_back({frequency});
    return points;
}

void Multiply(std::vector<ResponsePoint>& points, const FirFilter& filter, double rateHz) {
    const std::optional<double> linear = LinearPhaseDelay(filter.coefficients);
    const auto delay = static_cast<double>(filter.delay);
    for (ResponsePoint& point : points) {
        const double part = std::remainder(point.hz / rateHz, 1.0);
        // Counted from the middle, where the phase of symmetric coefficients does not turn.
        const double middle = 0.5 * static_cast<double>(filter.coefficients.size() - 1);
        Complex sum = 0.0;
        Complex moment = 0.0;
        for (std::size_t k = 0; k < filter.coefficients.size(); ++k) {
            const double place = static_cast<double>(k) - middle;
            const Complex term =
                std::polar(1.0, -2.0 * pi * std::remainder(part * place, 1.0)) * filter.coefficients[k];
            sum += term;
            moment += place * term;
        }
        point.gain *= sum * std::polar(1.0, -2.0 * pi * std::remainder(part * (middle - delay), 1.0));
        point.delaySamples += linear ? *linear - delay : middle - delay + (moment / sum).real();
    }
}

void Multiply(std::vector<ResponsePoint>& points, std::span<const Biquad> sections, double rateHz) {
    for (ResponsePoint& point : points) {
        const HalfAngle at(point.hz / rateHz);
        for (const Biquad& section : sections) {
            const bool isFirstOrder = section.numerator[2] == 0.0 && section.denominator[2] == 0.0;
            const Value numerator(section.numerator, isFirstOrder, at);
            const Value denominator(section.denominator, isFirstOrder, at);
            point.gain *= numerator.value / denominator.value;
            point.delaySamples += denominator.slope - numerator.slope;
        }
    }
}

}  // namespace

double ResponsePoint::LevelDb() const {
    return 20.0 * std::log10(std::abs(gain));
}

double ResponsePoint::PhaseDegrees() const {
    return std::arg(gain) * (180.0 / pi) + 0.0;  // never -0
}

std::vector<ResponsePoint> ResponseOf(const FirFilter& filter, double rateHz, std::span<const double> hz) {
    return ResponseOf(SampleFilters{{filter}, {}, {}}, rateHz, hz);
}

std::vector<ResponsePoint> ResponseOf(std::span<const Biquad> sections, double rateHz,
                                      std::span<const double> hz) {
    RequireRate(rateHz);
    std::vector<ResponsePoint> points = PointsAt(hz);
    Multiply(points, sections, rateHz);
    return points;
}

std::vector<ResponsePoint> ResponseOf(const SampleFilters& filters, double rateHz,
                                      std::span<const double> hz) {
    RequireRate(rateHz);
    std::vector<ResponsePoint> points = PointsAt(hz);
    for (const FirFilter& fir : filters.firs) Multiply(points, fir, rateHz);
    for (const IirFilter& iir : filters.iirs) Multiply(points, DesignIir(iir, rateHz), rateHz);
    return points;
}

std::vector<double> FrequencyGrid(double lowHz, double highHz, std::size_t count, FrequencySteps steps) {
    const bool isMultiple = steps == FrequencySteps::multiple;
    if (!(lowHz < highHz) || !std::isfinite(lowHz) || !std::isfinite(highHz) ||
        (isMultiple && !(lowHz > 0.0))) {
        throw Error(ErrorKind::kBadValue, "no frequencies lie from " + FormatNumber(lowHz) + " Hz to " +
                                              FormatNumber(highHz) + " Hz");
    }
    if (count < 2) throw Error(ErrorKind::kBadValue, "a response has two frequencies or more");
    std::vector<double> hz(count);
    for (std::size_t i = 0; i < count; ++i) {
        const double part = static_cast<double>(i) / static_cast<double>(count - 1);
        hz[i] = isMultiple ? lowHz * std::pow(highHz / lowHz, part) : lowHz + (highHz - lowHz) * part;
    }
    hz.back() = highHz;
    return hz;
}

}  // namespace kvx
