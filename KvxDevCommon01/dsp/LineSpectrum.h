// SPDX-License-Identifier: MIT
//
// The lines of a spectrum with all that goes with them, and what can be read from them: the rms of a band
// freed of the window's spreading, the highest line, peaks with their Q, and the motion behind the density of
// an acceleration. All values are in the standard units of their dimensions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/dsp/AveragedSpectrum.h>
#include <KvxDevCommon01/dsp/AveragedTransfer.h>
#include <KvxDevCommon01/units/UnitCtrl.h>

namespace kvx {

/// What the numbers of lines are.
enum class LineKind {
    kDensity = 0,     ///< one-sided power spectral densities
    kAmplitude = 1,   ///< peak amplitudes, averaged by power
    kComplex = 2,     ///< complex peak amplitudes of one block
    kTransfer = 3,    ///< a transfer function
    kCoherence = 4,   ///< from 0 to 1
    kPower = 5,       ///< mean squares of the sines on the lines
    kRms = 6,         ///< their roots
    kPeakToPeak = 7,  ///< twice the peak amplitudes
};

/// Whether the lines are powers, whose levels are 10 lg, and not amplitudes, whose levels are 20 lg.
inline bool IsPower(LineKind kind) {
    return kind == LineKind::kDensity || kind == LineKind::kPower;
}

/// Line k stands at k spacingHz.
struct LineSpectrum {
    LineKind kind = LineKind::kAmplitude;
    CUnitCtrl unit = {};  ///< of the lines
    double spacingHz = 0.0;
    std::int64_t blocks = 0;      ///< averaged
    double noiseBandwidth = 1.0;  ///< of the window, in lines
    std::vector<double> real = {};
    std::vector<double> imaginary = {};  ///< empty unless the lines are complex
    bool hasMiddleLine = false;  ///< whether the last line is that at half the rate, which has no twin either
    /// Of the power of a line, as AveragedSpectrum has them; none where they are not known.
    std::optional<double> degreesOfFreedom = std::nullopt;
    double decayPerSecond = 0.0;  ///< that the window added; see WindowDecay

    double FrequencyOf(std::int64_t line) const { return static_cast<double>(line) * spacingHz; }
    /// The lines, of complex ones their magnitudes.
    KVX_API std::vector<double> Levels() const;
};

/// The unit of such lines of a signal in `unit`: the unit itself, for densities that of DensityUnit, and for
/// powers that of SquareUnit. Throws Error (kUnsupported) for a compound, which has neither.
KVX_API CUnitCtrl LineUnit(LineKind kind, const CUnitCtrl& unit);

/// What was averaged of a signal in `unit` that was sampled at `rateHz`. Throws what LineUnit and
/// AveragedSpectrum throw.
KVX_API LineSpectrum Densities(const AveragedSpectrum& average, double rateHz, const CUnitCtrl& unit);
KVX_API LineSpectrum Amplitudes(const AveragedSpectrum& average, double rateHz, const CUnitCtrl& unit);

/// The same as lines of that kind: kDensity, kAmplitude, kPower, kRms or kPeakToPeak. Throws Error
/// (kBadValue) for another kind.
KVX_API LineSpectrum AveragedLines(LineKind kind, const AveragedSpectrum& average, double rateHz,
                                   const CUnitCtrl& unit);

/// The complex lines of one block; throws what BlockSpectrum throws.
KVX_API LineSpectrum BlockLines(std::span<const double> block, std::span<const double> window, double rateHz,
                                const CUnitCtrl& unit, const Averaging& averaging = {});

/// The response's unit over the reference's; throws Error (kUnsupported) when one of them is a compound.
KVX_API CUnitCtrl TransferUnitOf(const CUnitCtrl& response, const CUnitCtrl& reference);

/// The transfer function from a reference to a response in these units, and its coherence, of signals that
/// were sampled at `rateHz`. Throw what TransferUnitOf and AveragedTransfer throw.
KVX_API LineSpectrum TransferLines(const AveragedTransfer& average, double rateHz, const CUnitCtrl& response,
                                   const CUnitCtrl& reference);
KVX_API LineSpectrum CoherenceLines(const AveragedTransfer& average, double rateHz);

/// Throws Error (kBadValue), naming the channel, when a line that was calculated of it is no finite number:
/// the squares of its samples leave the range.
KVX_API void RequireNumbers(std::span<const double> lines, std::wstring_view channel);

/// Lines first to last. What takes a band throws Error (kBadValue) for one that is not all among the lines.
struct LineBand {
    std::int64_t first;
    std::int64_t last;
};

/// Those of `lines` lines, `spacingHz` apart from 0 Hz on, that lie from `fromHz` to `toHz`, or to the last
/// one. A frequency a millionth of the spacing outside counts as inside. Throws Error (kBadValue) when there
/// is none, and for a spacing that is not above 0.
KVX_API LineBand LinesInBand(double fromHz, std::optional<double> toHz, double spacingHz, std::int64_t lines);

/// The highest of the levels in the band, the one at 0 Hz left out where there is another.
KVX_API std::int64_t HighestLine(std::span<const double> levels, const LineBand& band);

/// Rms of the signal of which densities or amplitudes in the band tell. A window spreads each component over
/// several lines, whose powers add up to its own times the noise bandwidth; that is taken out.
KVX_API double BandRms(const LineSpectrum& spectrum, const LineBand& band);

struct SpectrumPeak {
    double hz;
    double level;
    /// Freed of the decay that the window added; none where a side does not fall to half the power, or where
    /// nothing is left of it without that decay.
    std::optional<double> q;
};

/// The `count` highest peaks among the lines in the band, highest first.
KVX_API std::vector<SpectrumPeak> FindPeaks(const LineSpectrum& spectrum, const LineBand& band,
                                            std::size_t count);

/// Overall rms values of the lines from `fromHz` on, in m/s2, m/s and m.
struct SpectrumMotion {
    double fromHz;
    double acceleration;
    double velocity;
    double displacement;
    /// The part of the displacement's power, from 0 to 1, that the three lowest of the lines hold: what an
    /// offset or a drift left, when it is most of it.
    double lowestPart = 0.0;
};

/// The motion of which densities of an acceleration tell: of the lines in the band from the cut-off on,
/// without the one at 0 Hz. No value for a band of that line alone; throws Error (kBadValue) for lines that
/// are no densities and when a cut-off above 0 leaves no line.
KVX_API std::optional<SpectrumMotion> MotionOf(const LineSpectrum& densities, const LineBand& band,
                                               double cutoffHz);

}  // namespace kvx
