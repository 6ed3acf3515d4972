// SPDX-License-Identifier: MIT
//
// Octave bands and fractions of them, by IEC 61260-1:2014: with the octave ratio G = 10^(3/10), b bands per
// octave and the number x of a band, its exact mid-band frequency is
//   fm = 1000 Hz G^(x/b) for odd b, 1000 Hz G^((2x + 1)/(2b)) for even b,
// and its edges are fm G^(-1/(2b)) and fm G^(1/(2b)). What lines and densities have in a band is told here;
// OctaveFilters.h has the filters.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/dsp/LineSpectrum.h>

namespace kvx {

/// The bands per octave that are possible.
inline constexpr std::int32_t kMostBandsPerOctave = 96;

struct OctaveBand {
    std::int32_t fraction = 1;  ///< b, bands per octave
    std::int32_t number = 0;    ///< x
    double lowHz = 0.0;
    double midHz = 0.0;      ///< exact
    double highHz = 0.0;     ///< where the next band begins, to the same bits
    double nominalHz = 0.0;  ///< by which the band is called: 31.5, 1000, 12500
};

/// The exact mid-band frequency of band number x of b >= 1 per octave.
KVX_API double OctaveMiddle(std::int32_t fraction, std::int32_t number);

/// Band number x of b per octave. Nominal frequencies are, of octaves and third octaves the preferred numbers
/// 1, 1.25, 1.6, 2, 2.5, 3.15, 4, 5, 6.3 and 8 with powers of ten; of half octaves the exact ones rounded to
/// three digits; of 1/4 to 1/24 octaves (and of 1/5, 1/7 ...) to three digits where the first digit is 1 to 4
/// and to two digits where it is 5 to 9; of finer bands to five digits. Throws Error (kBadValue) for b
/// outside 1 to kMostBandsPerOctave and for frequencies beyond 1e-9 to 1e12 Hz.
KVX_API OctaveBand OctaveBandAt(std::int32_t fraction, std::int32_t number);

/// The bands from the one in which `fromHz` lies to the one in which `toHz` lies, lower edges included.
/// Throws Error (kBadValue) unless 0 < fromHz <= toHz and as OctaveBandAt.
KVX_API std::vector<OctaveBand> OctaveBandsBetween(std::int32_t fraction, double fromHz, double toHz);

/// "1/3 octave", "octave"
KVX_API std::string FractionText(std::int32_t fraction);

/// The power, in the square of the standard unit, that a spectrum has in each band: of densities and
/// amplitudes, each line counted by the part of its cell, half a spacing to either side, that lies in the
/// band. The line at 0 Hz is not counted, and the window's spreading is taken out. Bands that partly lie
/// above the cells have no value. Throws Error (kBadValue) for lines of another kind.
KVX_API std::vector<std::optional<double>> PowersInBands(const LineSpectrum& spectrum,
                                                         std::span<const OctaveBand> bands);

}  // namespace kvx
