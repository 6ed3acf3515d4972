// SPDX-License-Identifier: MIT
//
// Filters without delay: forward through the signal and backward through what comes of it, so that phases
// cancel and the gain is that of the filter squared. The signal goes on beyond its ends by a part of itself,
// and both passes begin settled, as scipy.signal.sosfiltfilt and filtfilt have it.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/dsp/IirDesign.h>
#include <KvxDevCommon01/dsp/SampleFilters.h>
#include <KvxDevCommon01/dsp/SampleProcess.h>

namespace kvx {

/// How a signal goes on beyond its first and last sample.
enum class Extension {
    odd,       ///< turned around the sample by half a turn: what is steep there stays steep
    even,      ///< mirrored
    constant,  ///< by the sample
    none,      ///< not at all; the filter settles on the sample itself
};

/// By how many samples a signal is extended.
struct ZeroPhaseEnds {
    Extension extension = Extension::odd;
    /// 0 or more; without a number three times as many as the filters have coefficients, 3 (order + 1). A
    /// shorter signal is extended by all of itself but a sample.
    std::optional<std::int64_t> samples = std::nullopt;
};

/// The most samples of a channel that the backward pass looks ahead.
inline constexpr std::int64_t kMostZeroPhaseSamples = std::int64_t{1} << 24;

// The processes give as many results as there are samples. The backward pass begins anew for each block, as
// far ahead as the filters take to forget, so that a signal of any length passes in memory for about six
// times as many samples, and the results agree with those of the whole signal at once to rounding. Each
// function throws Error for values outside their ranges, for filters that are not stable and (kUnsupported)
// those that take more than kMostZeroPhaseSamples to forget.
/// `ends` of the filters and the delays of FIR filters do not count.
KVX_API std::unique_ptr<SampleProcess> MakeZeroPhase(const SampleFilters& filters, double delta,
                                                     const ZeroPhaseEnds& ends = {});
KVX_API std::unique_ptr<SampleProcess> MakeZeroPhase(std::span<const Biquad> sections,
                                                     const ZeroPhaseEnds& ends = {});

}  // namespace kvx
