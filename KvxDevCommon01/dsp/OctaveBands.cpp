// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/OctaveBands.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

namespace kvx {
namespace {

constexpr double kReferenceHz = 1000.0;
constexpr double kLogRatio = 0.3;  // of G, to base 10

/// The place of a frequency in units of half a band: that of a lower edge is 2x - 1 (b odd) or 2x (b even).
double EdgeHz(std::int32_t fraction, std::int64_t halfBands) {
    return kReferenceHz *
           std::pow(10.0, kLogRatio * static_cast<double>(halfBands) / (2.0 * static_cast<double>(fraction)));
}

/// Twice the number of the band's middle.
std::int64_t MiddleOf(std::int32_t fraction, std::int32_t number) {
    return 2 * std::int64_t{number} + (fraction % 2 == 0 ? 1 : 0);
}

/// Rounded to so many digits.
double ToDigits(double hz, int digits) {
    const double unit = std::pow(10.0, std::floor(std::log10(hz)) + 1.0 - digits);
    const double rounded = std::round(hz / unit);
    return unit < 1.0 ? rounded / std::round(1.0 / unit) : rounded * unit;
}

/// The tenth root steps of a decade (ISO 266).
double PreferredHz(std::int64_t tenths) {
    constexpr std::array kPreferred = {1.0, 1.25, 1.6, 2.0, 2.5, 3.15, 4.0, 5.0, 6.3, 8.0};
    const std::int64_t step = (tenths % 10 + 10) % 10;
    const std::int64_t decade = (tenths - step) / 10;
    const double mantissa = kPreferred[static_cast<std::size_t>(step)];
    const double factor = std::pow(10.0, static_cast<double>(std::abs(decade)));
    return decade < 0 ? mantissa / factor : mantissa * factor;
}

double NominalHz(std::int32_t fraction, std::int32_t number, double midHz) {
    if (fraction == 1 || fraction == 3)
        return PreferredHz(30 + std::int64_t{number} * (fraction == 1 ? 3 : 1));
    if (fraction == 2) return ToDigits(midHz, 3);
    if (fraction > 24) return ToDigits(midHz, 5);
    const double first = midHz / std::pow(10.0, std::floor(std::log10(midHz)));
    return ToDigits(midHz, first < 5.0 ? 3 : 2);
}

void RequireFraction(std::int32_t fraction) {
    if (fraction >= 1 && fraction <= kMostBandsPerOctave) return;
    throw Error(ErrorKind::kBadValue, "an octave has 1 to " + std::to_string(kMostBandsPerOctave) +
                                          " bands, not " + std::to_string(fraction));
}

/// The band in which a frequency lies.
std::int32_t NumberAt(std::int32_t fraction, double hz) {
    const double halfBands = std::log10(hz / kReferenceHz) / kLogRatio * 2.0 * fraction;
    if (!(std::abs(halfBands) < 1e6))
        throw Error(ErrorKind::kBadValue, "no band lies at " + FormatNumber(hz) + " Hz");
    const double lowest = fraction % 2 == 0 ? 0.0 : -1.0;
    auto number = static_cast<std::int32_t>(std::floor((halfBands - lowest) / 2.0));
    // The edges decide, which are calculated with a rounding of their own.
    if (hz < EdgeHz(fraction, MiddleOf(fraction, number) - 1)) --number;
    if (hz >= EdgeHz(fraction, MiddleOf(fraction, number) + 1)) ++number;
    return number;
}

}  // namespace

double OctaveMiddle(std::int32_t fraction, std::int32_t number) {
    return EdgeHz(fraction, MiddleOf(fraction, number));
}

OctaveBand OctaveBandAt(std::int32_t fraction, std::int32_t number) {
    RequireFraction(fraction);
    const std::int64_t middle = MiddleOf(fraction, number);
    OctaveBand band = {fraction,
                       number,
                       EdgeHz(fraction, middle - 1),
                       EdgeHz(fraction, middle),
                       EdgeHz(fraction, middle + 1),
                       0.0};
    if (!(band.lowHz > 1e-9 && band.highHz < 1e12))
        throw Error(ErrorKind::kBadValue, "a band lies between 1e-9 and 1e12 Hz");
    band.nominalHz = NominalHz(fraction, number, band.midHz);
    return band;
}

std::vector<OctaveBand> OctaveBandsBetween(std::int32_t fraction, double fromHz, double toHz) {
    RequireFraction(fraction);
    if (!(fromHz > 0.0 && fromHz <= toHz) || !std::isfinite(toHz)) {
        throw Error(ErrorKind::kBadValue,
                    "bands lie between two frequencies above 0 Hz, the lower one first");
    }
    std::vector<OctaveBand> bands;
    const std::int32_t last = NumberAt(fraction, toHz);
    for (std::int32_t x = NumberAt(fraction, fromHz); x <= last; ++x)
        bands.push_back(OctaveBandAt(fraction, x));
    return bands;
}

std::string FractionText(std::int32_t fraction) {
    return fraction == 1 ? "octave" : "1/" + std::to_string(fraction) + " octave";
}

std::vector<std::optional<double>> PowersInBands(const LineSpectrum& spectrum,
                                                 std::span<const OctaveBand> bands) {
    if (spectrum.kind != LineKind::kDensity && spectrum.kind != LineKind::kAmplitude)
        throw Error(ErrorKind::kBadValue, "only densities and amplitudes have power in a band");
    const bool isDensity = spectrum.kind == LineKind::kDensity;
    const double spacing = spectrum.spacingHz;
    const auto lines = static_cast<double>(spectrum.real.size());
    std::vector<std::optional<double>> powers;
    for (const OctaveBand& band : bands) {
        powers.emplace_back();
        const double low = std::max(band.lowHz / spacing, 0.5);
        const double high = band.highHz / spacing;
        if (!(high <= lines - 0.5)) continue;
        double power = 0.0;
        for (double k = std::round(low); k - 0.5 < high; k += 1.0) {
            const double share = std::min(high, k + 0.5) - std::max(low, k - 0.5);
            const double level = spectrum.real[static_cast<std::size_t>(k)];
            if (share > 0.0) power += share * (isDensity ? level * spacing : 0.5 * level * level);
        }
        powers.back() = isDensity ? power : power / spectrum.noiseBandwidth;
    }
    return powers;
}

}  // namespace kvx
