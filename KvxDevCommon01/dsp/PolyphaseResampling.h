// SPDX-License-Identifier: MIT
//
// Any other sampling rate for signals of any length, and delays by parts of a sample: each result is the sum
// of the samples around its time under a Kaiser-windowed sinc, which passes 0.9 of half the lower rate and
// takes away what lies above that half. The results do not depend on how the signal is cut.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/dsp/Resampling.h>
#include <KvxDevCommon01/dsp/SampleProcess.h>

namespace kvx {

/// The band that passes, of half the lower rate, within kPolyphaseRippleDb; what lies above that half is
/// kPolyphaseAttenuationDb down.
inline constexpr double kPolyphaseBand = 0.9;
inline constexpr double kPolyphaseRippleDb = 1e-5;
inline constexpr double kPolyphaseAttenuationDb = 120.0;

/// A ratio of two rates: up/down in lowest terms.
struct RateRatio {
    std::int64_t up = 1;
    std::int64_t down = 1;
};
/// The ratio of whole numbers up to `most` that `ratio` is, to 1e-12; none for others.
KVX_API std::optional<RateRatio> FindRatio(double ratio, std::int64_t most = 4096);

/// What becomes of a signal.
struct PolyphasePlan {
    SampleTimes before = {};
    SampleTimes after = {};
    double step = 1.0;                              ///< samples before for one after
    std::optional<RateRatio> exact = std::nullopt;  ///< of the rates, where whole numbers up to 4096 tell it
    double bandHz = 0.0;                            ///< where the band ends that passes
};

/// Plans the change of a signal to the rate `toHz`, or by whole numbers. Samples stand at whole multiples of
/// their distance from 0 s, from the first one not before the signal to the last one before the end of its
/// last sample. Throws Error for a spacing or rate that is not above 0, a ratio below 1e-4 or above 1e4, when
/// nothing is left, and when the signal becomes too long or begins too far from 0 s.
KVX_API PolyphasePlan PlanPolyphase(const SampleTimes& times, double toHz);
KVX_API PolyphasePlan PlanPolyphase(const SampleTimes& times, const RateRatio& ratio);

/// Gives the `after.samples` results of the plan, of the signal moved to `shiftSeconds` later; the times of
/// the results stay. Throws Error (kBadValue) for a shift of more than a million samples, and std::bad_alloc.
KVX_API std::unique_ptr<SampleProcess> MakePolyphase(const PolyphasePlan& plan, Ends ends,
                                                     double shiftSeconds = 0.0);

}  // namespace kvx
