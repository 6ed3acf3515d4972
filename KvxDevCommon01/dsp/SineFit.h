// SPDX-License-Identifier: MIT
//
// The sine that fits samples best, as a calibration needs it: by least squares in amplitude, phase, offset
// and frequency (the four-parameter fit of IEEE Std 1057), so that neither a window nor the place of the
// frequency between lines matters.
#pragma once

#include <optional>
#include <span>

#include <KvxDevCommon01/Export.h>

namespace kvx {

/// offset + amplitude cos(2 pi frequency t + phase), t = 0 at the first sample, and what it leaves.
struct SineFit {
    double frequencyHz = 0.0;
    double amplitude = 0.0;  ///< 0 or more, in the unit of the samples
    double phase = 0.0;      ///< in radians, from -pi to pi
    double offset = 0.0;
    double residualRms = 0.0;  ///< rms of the samples without the sine and the offset
};

/// Fits the strongest sine above 0 Hz or, of a known frequency, the sine of exactly that. Throws Error
/// (kBadValue) for fewer than 16 samples or less than two periods, a rate or frequency that is none below
/// half the rate, samples that are not finite, and samples in which nothing oscillates.
KVX_API SineFit FitSine(std::span<const double> samples, double rateHz,
                        std::optional<double> frequencyHz = std::nullopt);

}  // namespace kvx
