// SPDX-License-Identifier: MIT
//
// The frequency weightings A, C and Z of sound level meters, IEC 61672-1:2013, on lines and on samples.
//
// With f1 = 20.60 Hz, f2 = 107.7 Hz, f3 = 737.9 Hz and f4 = 12194 Hz by the closed forms of its Annex E,
//   C(f) = f4^2 f^2 / ((f^2 + f1^2) (f^2 + f4^2)),
//   A(f) = f4^2 f^4 / ((f^2 + f1^2) sqrt(f^2 + f2^2) sqrt(f^2 + f3^2) (f^2 + f4^2)),
// each over its value at 1000 Hz. Z is 1.
#pragma once

#include <array>
#include <memory>
#include <optional>
#include <string_view>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/dsp/LineSpectrum.h>
#include <KvxDevCommon01/dsp/SampleProcess.h>

namespace kvx {

enum class FrequencyWeighting { kA, kC, kZ };

struct NamedWeighting {
    std::string_view name;
    FrequencyWeighting weighting;
};
inline constexpr std::array kWeightings = {
    NamedWeighting{"A", FrequencyWeighting::kA},
    NamedWeighting{"C", FrequencyWeighting::kC},
    NamedWeighting{"Z", FrequencyWeighting::kZ},
};

/// "A", "C" or "Z"
KVX_API std::string_view NameOf(FrequencyWeighting weighting);

/// The gain at a frequency in hertz: 1 at 1000 Hz, 0 at 0 Hz of A and C.
KVX_API double WeightingGain(FrequencyWeighting weighting, double hz);

/// The lines, multiplied by the gain at each, densities by its square. Throws Error (kBadValue) for lines of
/// a coherence.
KVX_API LineSpectrum Weighted(LineSpectrum spectrum, FrequencyWeighting weighting);

/// Weights samples. The gain is within 0.07 dB of the exact one up to 0.47 of the rate, whatever the rate,
/// and within 0.8 dB up to half the rate: the limits of class 1 hold at every rate, at frequencies that it
/// has. The filter is causal and starts from rest. Throws Error (kBadValue) for a rate that is not above 0
/// and finite.
KVX_API std::unique_ptr<SampleProcess> MakeWeighting(FrequencyWeighting weighting, double rateHz);

}  // namespace kvx
