// SPDX-License-Identifier: MIT
//
// Design of recursive filters: Butterworth, Chebyshev, elliptic and Bessel low-passes, high-passes,
// band-passes and band-stops, notches and peaks, made of their analogue filters by the bilinear transform
// with the corners warped before, so that these are met exactly. What comes of it are sections of the second
// order.
#pragma once

#include <array>
#include <complex>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/Export.h>

namespace kvx {

/// A digital recursive filter.
struct IirFilter {
    enum class Pass {
        low,    ///< up to cornerHz
        high,   ///< from cornerHz on
        band,   ///< from cornerHz to upperHz
        stop,   ///< all but from cornerHz to upperHz
        notch,  ///< all but cornerHz: second order, -3 dB on either side of a band of cornerHz/q
        peak,   ///< nothing but cornerHz, as wide
    };
    enum class Family {
        butterworth,  ///< flattest; -3 dB at the corners
        chebyshev1,   ///< rippleDb in the pass band, which ends at the corners
        chebyshev2,   ///< attenuationDb in the stop band, which begins at the corners; flattest where it
                      ///< passes
        elliptic,  ///< rippleDb in the pass band, which ends at the corners, and attenuationDb where it stops
        bessel,    ///< flattest delay, before the bilinear transform warps it
    };
    /// What a Bessel filter has at its corner.
    enum class BesselNorm {
        magnitude,  ///< -3 dB, as a Butterworth filter
        phase,      ///< the phase in the middle of its range: the asymptotes of a Butterworth filter
        delay,      ///< of the analogue low-pass, a delay of 1/(2 pi cornerHz) at 0 Hz
    };

    Pass pass = Pass::low;
    std::int32_t order =
        4;  ///< of the low-pass behind it: a band has twice as many poles; not of notch and peak
    double cornerHz = 0.0;                ///< above 0, below half the sampling rate
    double upperHz = 0.0;                 ///< of band and stop: above cornerHz, below half the sampling rate
    Family family = Family::butterworth;  ///< not of notch and peak
    double rippleDb = 0.5;                ///< above 0
    double attenuationDb = 60.0;          ///< above 0, of elliptic filters above rippleDb
    double q = 30.0;                      ///< of notch and peak: above 0, cornerHz/q below half the rate
    BesselNorm norm = BesselNorm::magnitude;

    bool IsBand() const { return pass == Pass::band || pass == Pass::stop; }
    /// Whether it has a quality instead of family and order.
    bool HasQ() const { return pass == Pass::notch || pass == Pass::peak; }
    /// Whether it stops at 0 Hz.
    bool BlocksConstants() const { return pass == Pass::high || pass == Pass::band || pass == Pass::peak; }

    bool operator==(const IirFilter&) const = default;
};

/// The highest order of a filter: of Butterworth low-passes and high-passes 1024, else 32.
KVX_API std::int32_t HighestOrder(const IirFilter& filter);

/// The families and how a person calls them.
struct NamedIirFamily {
    std::string_view name;
    IirFilter::Family family;
};
inline constexpr std::array kIirFamilies = {
    NamedIirFamily{"butterworth", IirFilter::Family::butterworth},
    NamedIirFamily{"chebyshev1", IirFilter::Family::chebyshev1},
    NamedIirFamily{"chebyshev2", IirFilter::Family::chebyshev2},
    NamedIirFamily{"elliptic", IirFilter::Family::elliptic},
    NamedIirFamily{"bessel", IirFilter::Family::bessel},
};

/// The filter for a person: "butterworth low-pass of order 4 at 50 Hz".
KVX_API std::string FilterText(const IirFilter& filter);

/// The frequencies that pass all filters; none pass when the highest lies below the lowest. What band-stops
/// and notches take out of it is not told.
struct PassedBand {
    double lowestHz = 0.0;
    double highestHz = std::numeric_limits<double>::infinity();
};
KVX_API PassedBand BandOf(std::span<const IirFilter> filters);

/// Throws Error unless the corner is above 0 and below half the rate.
KVX_API void RequireCorner(double cornerHz, double rateHz);
/// Throws Error (kBadValue) for a filter whose numbers are outside the ranges above.
KVX_API void RequireFilter(const IirFilter& filter, double rateHz);

/// The gain at 0 Hz: 1 where a filter passes and 0 where it stops or, with a ripple or an attenuation and an
/// even order, as much.
KVX_API double GainAtZero(const IirFilter& filter);

/// A section of the second order, or with n2 = d2 = 0 of the first one, in the variable of the bilinear
/// transform, s = (1 - 1/z)/(1 + 1/z), on the unit circle i tan(pi f/rate):
///   H = (n0 + n1 s + n2 s^2)/(d0 + d1 s + d2 s^2).
/// Unlike coefficients in z these keep their precision when a corner is a millionth of the rate. It is stable
/// when all d are above 0.
struct Biquad {
    std::array<double, 3> numerator = {1.0, 0.0, 0.0};    ///< n0, n1, n2
    std::array<double, 3> denominator = {1.0, 0.0, 0.0};  ///< d0, d1, d2

    bool operator==(const Biquad&) const = default;
};

/// Designs the filter for a sampling rate: sections by rising resonance, each of gain 1 where the filter
/// passes, with the zeros that lie nearest to its poles; the zeros of a band-pass at 0 Hz and half the rate
/// are shared out evenly. A response is within 1e-12 of the analogue one at the warped frequency. Throws
/// Error (kBadValue) for numbers outside their ranges.
KVX_API std::vector<Biquad> DesignIir(const IirFilter& filter, double rateHz);

/// Coefficients in z as a row of SciPy's second-order sections: b0 b1 b2 1 a1 a2 with
/// y = b0 x + b1 x1 + b2 x2 - a1 y1 - a2 y2.
using SosRow = std::array<double, 6>;
KVX_API SosRow RowOf(const Biquad& section);
/// Throws Error (kBadValue) for numbers that are not finite and a0 = 0.
KVX_API Biquad SectionOf(const SosRow& row);

/// Zeros, poles and gain in z: gain times the product of (z - zero) over that of (z - pole).
struct ZerosAndPoles {
    std::vector<std::complex<double>> zeros = {};
    std::vector<std::complex<double>> poles = {};
    double gain = 1.0;
};
KVX_API ZerosAndPoles ZerosAndPolesOf(std::span<const Biquad> sections);

/// Throws Error (kBadValue) for a section with a pole on or outside the unit circle.
KVX_API void RequireStable(std::span<const Biquad> sections);

/// How many samples it takes until what a filter was in is forgotten in double precision. Infinite for an
/// unstable one.
KVX_API double SettlingSamples(std::span<const Biquad> sections);

}  // namespace kvx
