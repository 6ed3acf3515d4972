// SPDX-License-Identifier: MIT
//
// Power spectral densities as text, as random-vibration tests are specified. One fact per line, words apart
// by blanks, a comma or a semicolon; "#" begins a comment:
//
//     unit g2/Hz                           of the levels
//     20                                   a breakpoint whose level follows from the slope beside it
//     +3 dB/oct                            the slope from the breakpoint before to the one after
//     80 0.04                              a breakpoint: frequency in Hz and level, in ascending order
//     tolerance +3 -3 dB                   how far a test may be from the profile
//     abort +6 none dB 500 2000            and where a test ends, here without a lower limit, in a part
//
// A slope of 10 lg 2 = 3.0103 dB/oct doubles the density with the frequency. Of limits that overlap the last
// one holds.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/dsp/ProfileComparison.h>
#include <KvxDevCommon01/dsp/PsdProfile.h>
#include <KvxDevCommon01/units/UnitCtrl.h>
#include <KvxRecording01/Export.h>

namespace kvx {

struct ProfileText {
    PsdProfile profile = {};  ///< levels in the square of the signal's unit per hertz
    std::optional<CUnitCtrl> signalUnit = std::nullopt;  ///< g of "unit g2/Hz"; no value without such a line
    std::vector<DensityLimit> tolerance = {};
    std::vector<DensityLimit> abort = {};
};

/// Throws Error naming the line and what is wrong with it.
KVX_RECORDING_API ProfileText ReadProfileText(const std::string& path);

KVX_RECORDING_API ProfileText ParseProfileText(std::string_view text);

/// The profile of a text whose levels are in `density`, in its standard unit. Throws Error when a level or
/// the rms leaves the range of numbers.
KVX_RECORDING_API PsdProfile ProfileIn(const ProfileText& text, const CUnitCtrl& density);

/// The text that reads back as the same profile, with the limits that hold within it.
KVX_RECORDING_API std::string FormatProfileText(const ProfileText& text);

}  // namespace kvx
