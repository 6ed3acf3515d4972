// SPDX-License-Identifier: MIT
//
// What filters do to sines: gain, phase and group delay at given frequencies, evaluated from the
// coefficients.
#pragma once

#include <complex>
#include <span>
#include <vector>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/dsp/IirDesign.h>
#include <KvxDevCommon01/dsp/SampleFilters.h>

namespace kvx {

/// The response of a filter at a frequency.
struct ResponsePoint {
    double hz = 0.0;
    std::complex<double> gain = 1.0;
    double delaySamples =
        0.0;  ///< group delay; not-a-number where a FIR filter without linear phase has gain 0

    /// 20 log10 |gain|; -infinity at a gain of 0.
    KVX_API double LevelDb() const;
    /// From -180 to 180.
    KVX_API double PhaseDegrees() const;
};

// The responses at frequencies of any sign and size, which repeat with the sampling rate. Each function
// throws Error (kBadValue) for a rate that is not above 0, and as the filters are designed.
/// With the delay of the filter, as far as it is not taken out.
KVX_API std::vector<ResponsePoint> ResponseOf(const FirFilter& filter, double rateHz,
                                              std::span<const double> hz);
KVX_API std::vector<ResponsePoint> ResponseOf(std::span<const Biquad> sections, double rateHz,
                                              std::span<const double> hz);
KVX_API std::vector<ResponsePoint> ResponseOf(const SampleFilters& filters, double rateHz,
                                              std::span<const double> hz);

/// `count` frequencies from `lowHz` to `highHz`, both included: in equal steps, or of which each is the same
/// multiple of the one before. Throws Error (kBadValue) for a band that does not rise, one that begins at or
/// below 0 for multiples, and fewer than two.
enum class FrequencySteps { equal, multiple };
KVX_API std::vector<double> FrequencyGrid(double lowHz, double highHz, std::size_t count,
                                          FrequencySteps steps);

}  // namespace kvx
