// SPDX-License-Identifier: MIT
//
// Filters that work sample by sample, as processes for signals of any length: FIR filters, with their delay
// taken out, and Butterworth filters. What a signal is beyond its ends is assumed.
#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/dsp/MatFir.h>
#include <KvxDevCommon01/dsp/SampleProcess.h>
#include <KvxDevCommon01/platform/Types.h>

namespace kvx {

/// A FIR filter y[n] = sum of h[k] x[n - k].
struct FirFilter {
    std::vector<double> coefficients = {};  ///< h[0], h[1] ...
    __int64 delay = 0;  ///< whole samples, 0 or more, by which the result is moved forward in time
};

/// A digital Butterworth filter: -3 dB at the corner.
struct ButterworthFilter {
    enum class Pass { low, high };

    Pass pass = Pass::low;
    std::int32_t order = 4;  ///< 1 to CMatIirNth::kMaxOrder
    double cornerHz = 0.0;   ///< above 0, below half the sampling rate
};

/// The filter for a person: "butterworth low-pass of order 4 at 50 Hz".
KVX_API std::string FilterText(const ButterworthFilter& filter);

/// The delay, half a sample less than there are coefficients, of a filter that delays all frequencies alike:
/// one whose coefficients mirror each other, with or without a change of sign, to a millionth of the largest,
/// the rounding of printed coefficients. None for other filters.
KVX_API std::optional<double> LinearPhaseDelay(std::span<const double> coefficients);

/// The filter of those coefficients with its delay, without half a sample; one that does not delay all
/// frequencies alike has none that could be taken out.
KVX_API FirFilter CentredFir(std::vector<double> coefficients);

/// A built-in low-pass of CMatFir with its delay. Throws Error for an unknown set.
KVX_API FirFilter BuiltInFir(CMatFir::FIR_COEF set);

/// The frequencies that pass all Butterworth filters; none pass when the highest lies below the lowest.
struct PassedBand {
    double lowestHz = 0.0;
    double highestHz = std::numeric_limits<double>::infinity();
};
KVX_API PassedBand BandOf(std::span<const ButterworthFilter> filters);

/// Throws Error unless the corner is above 0 and below half the rate.
KVX_API void RequireCorner(double cornerHz, double rateHz);

/// Filters that work one after the other.
struct SampleFilters {
    std::vector<FirFilter> firs = {};  ///< first
    std::vector<ButterworthFilter> butterworths = {};
    /// Without a choice the signal is 0 outside its ends when there is a high-pass, which would take its
    /// first value for an offset and its end for a step, and held otherwise.
    std::optional<Ends> ends = std::nullopt;
};

/// Whether a constant passes as it is: without a high-pass, and with coefficients that add up to 1 within
/// 1 %.
KVX_API bool KeepsLevels(const SampleFilters& filters);

// The processes give as many results as there are samples. Each function throws Error for a value outside the
// ranges above, and std::bad_alloc.
KVX_API std::unique_ptr<SampleProcess> MakeFir(const FirFilter& filter, Ends ends);
/// For samples `delta` seconds apart. Held, a low-pass begins settled on the first sample and a high-pass at
/// 0.
KVX_API std::unique_ptr<SampleProcess> MakeButterworth(const ButterworthFilter& filter, double delta,
                                                       Ends ends);
KVX_API std::unique_ptr<SampleProcess> MakeSampleFilters(const SampleFilters& filters, double delta);

}  // namespace kvx
