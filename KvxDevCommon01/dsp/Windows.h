// SPDX-License-Identifier: MIT
//
// The windows of the suite and others by name, and what a window does to the lines of a spectrum.
//
// A text names a window, with its numbers behind a colon where it takes some, and whether it is periodic (as
// spectra need it, and as it is without a choice) or symmetric (as the design of filters does):
//
//     hann   kaiser:8.6   kaiser:80dB   tukey:0.1   exponential:0.05   force:0.1,0.05   hann:symmetric
//
// A periodic window of N samples repeats after N, a symmetric one ends as it begins. With u = n/N, or n/(N -
// 1): kaiser:B is I0(B sqrt(1 - (2u - 1)^2))/I0(B), and kaiser:A dB takes the B with side lobes A dB down
// (Kaiser and Schafer 1980); tukey:R rises and falls with half cosines over R/2 of the block each; bartlett
// is the triangle 1 - |2u - 1|. For blows of a hammer, force:L,T is 1 over the part L of the block, then half
// a cosine down to 0 over the part T, and exponential:E is E^u, which ends at E. CMatWIND has the formulas of
// the suite's own.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/Export.h>

namespace kvx {

/// "hann", "rectangular", "hamming" and so on, the usual one first.
KVX_API std::vector<std::string> WindowNames();

/// What a window is and where it comes from, with the numbers it takes: "minimum of 4 terms (Nuttall 1981)".
/// Throws Error (kUnknownName) for a name that is none.
KVX_API std::string WindowDescription(std::string_view name);

/// `size` samples of the window that a text names. It is also known as: "flattop", "hanning", "boxcar",
/// "nuttall" and so on. Throws Error: kUnknownName for a name that is none, kBadValue for numbers it does not
/// take and for a size below 1.
KVX_API std::vector<double> MakeWindow(std::string_view text, std::int64_t size);

/// The equivalent noise bandwidth of a window of N samples, N sum w^2 / (sum w)^2, in lines: how many times
/// the power of a sine the lines around it hold together. Throws Error (kBadValue) for a window whose sum is
/// 0, the empty one among them.
KVX_API double NoiseBandwidth(std::span<const double> window);

/// What a window does to a sine. Frequencies are in lines, levels in dB to the sine that stands on a line.
struct WindowFigures {
    double mean;
    double noiseBandwidth;
    /// The level furthest from 0 with which a sine up to half a line away is read; below 0 for a loss.
    double scallopDb;
    double width3dB;  ///< between the frequencies at -3 dB
    double width6dB;
    /// That of the highest side lobe; none for a window without any.
    std::optional<double> sideLobeDb;
};

/// The figures of a window of 8 to 65536 samples. Throws Error (kBadValue) for others and for those whose sum
/// is 0 or not finite.
KVX_API WindowFigures FiguresOfWindow(std::span<const double> window);

/// The decay that the exponential window adds to every vibration in a block that lasts `blockSeconds`, in
/// 1/s: ln(1/E)/blockSeconds, 0 for all other windows. Throws what MakeWindow throws for the text.
KVX_API double WindowDecay(std::string_view text, double blockSeconds);

/// The quality of a resonance, measured as its frequency over the half-power width, without a decay that a
/// window added: 1/Q - decay/(pi f) is its inverse. No value when the window decays as fast as what was
/// measured.
KVX_API std::optional<double> QWithoutDecay(double q, double hz, double decayPerSecond);

}  // namespace kvx
