// SPDX-License-Identifier: MIT
//
// What a report tells of lines: the figures of a spectrum in a band of frequencies, and single lines of a
// transfer function. Levels are in shown units, those in which a unit descriptor shows the values of its
// dimension.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/dsp/LineSpectrum.h>
#include <KvxDevCommon01/units/UnitCtrl.h>

namespace kvx {

struct FrequencyBand {
    double fromHz = 0.0;
    std::optional<double> toHz = std::nullopt;  ///< none for up to the last line

    /// As LinesInBand.
    LineBand Lines(double spacingHz, std::int64_t lines) const {
        return LinesInBand(fromHz, toHz, spacingHz, lines);
    }
};

/// What is to be told of a spectrum.
struct FigureChoice {
    FrequencyBand band = {};
    std::size_t peaks = 0;  ///< at most so many
    double cutoffHz = 0.0;  ///< of the motion
};

struct SpectrumFigures {
    double rms = 0.0;  ///< of the band, in the shown unit of the signal
    double highestHz = 0.0;
    double highestLevel = 0.0;  ///< of that line, in the shown unit of the lines
    /// Of densities of an acceleration, in standard units as MotionOf gives it.
    std::optional<SpectrumMotion> motion = std::nullopt;
    std::vector<SpectrumPeak> peaks = {};  ///< levels in the shown unit of the lines
};

/// The figures of the lines of a signal in `unit`. Throws what LinesInBand and MotionOf throw.
KVX_API SpectrumFigures FiguresOf(const LineSpectrum& spectrum, const CUnitCtrl& unit,
                                  const FigureChoice& choice = {});

/// A line of a transfer function, in its shown unit.
struct TransferLine {
    double hz;
    double real;
    double imaginary;
    double magnitude;
    double phaseDegrees;
    double coherence;  ///< from 0 to 1
};

/// Line `line` of a transfer function and its coherence, which both have it.
KVX_API TransferLine TransferLineAt(const LineSpectrum& transfer, const LineSpectrum& coherence,
                                    std::int64_t line);

/// The lines nearest to the frequencies, of `count` lines that are `spacingHz` apart from 0 Hz on. Throws
/// Error (kBadValue) for a frequency below 0 or beyond the last line.
KVX_API std::vector<std::int64_t> LinesNear(std::span<const double> frequencies, double spacingHz,
                                            std::int64_t count);

}  // namespace kvx
