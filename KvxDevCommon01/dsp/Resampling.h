// SPDX-License-Identifier: MIT
//
// Other sampling rates for signals of any length: the ratios that the cascades of CMatMrf know, and processes
// whose samples stand at the time of what they show.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/dsp/MatFir.h>
#include <KvxDevCommon01/dsp/MatMrf.h>
#include <KvxDevCommon01/dsp/SampleProcess.h>
#include <KvxDevCommon01/platform/Types.h>

namespace kvx {

/// A change of the sampling rate by one of the ratios of CMatMrf.
struct RateChange {
    CMatFir::RATE_CONV mode = CMatFir::RATE_NONE;
    CMatMrf::OVS_RAT code = CMatMrf::OVS_RAT_1;

    KVX_API std::int32_t Ratio() const;
    /// The rate that comes of `rate`, in its unit.
    KVX_API double RateAfter(double rate) const;
};

/// Every change, from the one that gives the most samples to the one that gives the fewest.
KVX_API std::vector<RateChange> RateChanges();
/// The change that multiplies or divides by `ratio`, which 1 does not change; none for another ratio.
KVX_API std::optional<RateChange> FindRateChange(CMatFir::RATE_CONV mode, std::int64_t ratio);
/// The change that leads from one rate [Hz] to another, to a millionth, the accuracy of a sampling clock.
KVX_API std::optional<RateChange> FindRateChange(double fromHz, double toHz);

/// The changes that lead from one rate [Hz] nearest to another from below and above, in this order; only one
/// where the other rate is beyond all that can be reached.
KVX_API std::vector<RateChange> NearestRateChanges(double fromHz, double toHz);

/// Where the samples of a signal stand: sample i at (offset + i) delta seconds.
struct SampleTimes {
    double delta = 0.0;
    __int64 offset = 0;
    __int64 samples = 0;
};

/// What a change of the rate makes of a signal.
struct ResamplingPlan {
    RateChange change = {};
    bool keepsDelay = false;
    SampleTimes before = {};
    SampleTimes after = {};
    double delaySeconds = 0.0;  ///< what the results show is so much earlier when the delay is kept
    double bandHz = 0.0;        ///< where the band ends that passes
};

/// Plans the change of a signal's rate. Without `keepDelay` a sample of the result stands at the time of what
/// it shows, as near to the start of the signal as the spacing of the result allows; with it the results are
/// those of filters at rest that are fed the signal alone. Throws Error for a spacing that is not above 0 and
/// an unknown ratio, when nothing is left, and when the signal becomes too long or begins too far from 0 s.
KVX_API ResamplingPlan PlanResampling(const SampleTimes& times, const RateChange& change, bool keepDelay);

/// Gives the `after.samples` results of the plan. Throws Error for an unknown ratio, and std::bad_alloc.
KVX_API std::unique_ptr<SampleProcess> MakeResampler(const ResamplingPlan& plan, Ends ends);

}  // namespace kvx
