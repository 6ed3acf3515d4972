// SPDX-License-Identifier: MIT
//
// Filters that work sample by sample, as processes for signals of any length: FIR filters, with their delay
// taken out, and recursive filters. What a signal is beyond its ends is assumed.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <vector>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/dsp/IirDesign.h>
#include <KvxDevCommon01/dsp/MatFir.h>
#include <KvxDevCommon01/dsp/SampleProcess.h>
#include <KvxDevCommon01/platform/Types.h>

namespace kvx {

/// A FIR filter y[n] = sum of h[k] x[n - k].
struct FirFilter {
    std::vector<double> coefficients = {};  ///< h[0], h[1] ...
    __int64 delay = 0;  ///< whole samples, 0 or more, by which the result is moved forward in time
};

/// The delay, half a sample less than there are coefficients, of a filter that delays all frequencies alike:
/// one whose coefficients mirror each other, with or without a change of sign, to a millionth of the largest,
/// the rounding of printed coefficients. None for other filters.
KVX_API std::optional<double> LinearPhaseDelay(std::span<const double> coefficients);

/// The filter of those coefficients with its delay, without half a sample; one that does not delay all
/// frequencies alike has none that could be taken out.
KVX_API FirFilter CentredFir(std::vector<double> coefficients);

/// A built-in low-pass of CMatFir with its delay. Throws Error for an unknown set.
KVX_API FirFilter BuiltInFir(CMatFir::FIR_COEF set);

/// Filters that work one after the other.
struct SampleFilters {
    std::vector<FirFilter> firs = {};  ///< first
    std::vector<IirFilter> iirs = {};
    /// Without a choice the signal is 0 outside its ends when a filter blocks constants: it would take the
    /// first value for an offset and the end for a step. Otherwise it is held.
    std::optional<Ends> ends = std::nullopt;
};

/// Whether a constant passes as it is: nothing blocks it, and the gain at 0 Hz is 1 within 1 %.
KVX_API bool KeepsLevels(const SampleFilters& filters);

// The processes give as many results as there are samples. Each function throws Error for a value outside the
// ranges above, and std::bad_alloc.
KVX_API std::unique_ptr<SampleProcess> MakeFir(const FirFilter& filter, Ends ends);
/// For samples `delta` seconds apart. Held, the filter begins as if the first sample had always been there.
KVX_API std::unique_ptr<SampleProcess> MakeIir(const IirFilter& filter, double delta, Ends ends);
/// The same for stable sections, one after the other. The results of a design are those of MakeIir; of
/// Butterworth low-passes and high-passes, which CMatIirNth runs, to rounding.
KVX_API std::unique_ptr<SampleProcess> MakeSections(std::span<const Biquad> sections, Ends ends);
KVX_API std::unique_ptr<SampleProcess> MakeSampleFilters(const SampleFilters& filters, double delta);

}  // namespace kvx
