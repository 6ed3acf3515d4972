// SPDX-License-Identifier: MIT
//
// Power spectral densities as text: breakpoints, one "frequency level" per line in ascending order, apart by
// blanks, a comma or a semicolon; "#" begins a comment; a line "unit g2/Hz" states the unit of the levels.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <KvxDevCommon01/dsp/PsdProfile.h>
#include <KvxDevCommon01/units/UnitCtrl.h>
#include <KvxRecording01/Export.h>

namespace kvx {

struct ProfileText {
    PsdProfile profile;                   ///< levels in the square of the signal's unit per hertz
    std::optional<CUnitCtrl> signalUnit;  ///< g of "unit g2/Hz"; no value without such a line
};

/// Throws Error naming the line and what is wrong with it.
KVX_RECORDING_API ProfileText ReadProfileText(const std::string& path);

KVX_RECORDING_API ProfileText ParseProfileText(std::string_view text);

/// The profile of a text whose levels are in `density`, in its standard unit. Throws Error when a level or
/// the rms leaves the range of numbers.
KVX_RECORDING_API PsdProfile ProfileIn(const ProfileText& text, const CUnitCtrl& density);

/// The text that reads back as the same profile.
KVX_RECORDING_API std::string FormatProfileText(const ProfileText& text);

}  // namespace kvx
