// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/Resampling.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <new>
#include <string>

#include <KvxDevCommon01/dsp/Blocks.h>
#include <KvxDevCommon01/dsp/detail/AlignedProcess.h>
#include <KvxDevCommon01/platform/Error.h>

namespace kvx {
namespace {

constexpr __int64 kPiece = 4096;  // samples that a cascade is fed, or gives, at once

/// How a cascade is run so that its results stand at their time.
struct Course {
    __int64 lead = 0;  // samples that are put in front of the signal
    __int64 skip = 0;  // results that are dropped first
};

Course CourseOf(const ResamplingPlan& plan) {
    if (plan.keepsDelay) return {};
    const __int64 ratio = plan.change.Ratio();
    const __int64 delay = CascadeDelay(plan.change.code);  // in samples of the higher rate
    if (plan.change.mode != CMatFir::RATE_DECIMATE) {
        const __int64 lead = 2 * delay / ratio + 1;
        return {lead, lead * ratio + delay};
    }
    // Result k comes with sample k ratio + ratio - 1, the lead included, and shows sample
    // k ratio + ratio - 1 - delay - lead. The first one kept shows the first sample that stands where a
    // sample of the result may stand; the lead covers the memory of the filters before that.
    const __int64 first = plan.after.offset * ratio - plan.before.offset;
    const __int64 memory = 2 * delay;
    const __int64 shown = memory + first + delay + 1;
    const __int64 lead = memory + (ratio - shown % ratio) % ratio;
    return {lead, (lead + first + delay + 1) / ratio - 1};
}

class Resampler : public AlignedProcess {
public:
    Resampler(const ResamplingPlan& plan, const Course& course, Ends ends)
        : AlignedProcess(PieceOf(plan.change), course.lead, course.skip, plan.after.samples, ends) {
        if (!cascade_.SetConvCond(plan.change.mode, plan.change.code, kPiece, 0)) throw std::bad_alloc();
    }

private:
    static __int64 PieceOf(const RateChange& change) {
        return change.mode == CMatFir::RATE_INTERPOLATE ? kPiece / change.Ratio() : kPiece;
    }

    void Run(std::span<const double> samples, std::vector<double>& results) override {
        if (!cascade_.SetInputData(samples.data(), 0, std::ssize(samples), std::ssize(samples)))
            throw std::bad_alloc();
        const __int64 waiting = cascade_.GetNumOutputData();
        results.resize(static_cast<std::size_t>(waiting));
        cascade_.GetOutputData(results.data(), 0, waiting, waiting);
    }

    CMatMrf cascade_;
};

/// The largest multiple of `step` up to `value`, divided by `step`.
__int64 FloorDivide(__int64 value, __int64 step) {
    return value / step - (value % step < 0 ? 1 : 0);
}

void RequireRatio(const RateChange& change) {
    if (change.Ratio() < 1) throw Error(ErrorKind::kBadValue, "the change of the rate has an unknown ratio");
}

[[noreturn]] void ThrowTooFar() {
    throw Error(ErrorKind::kUnsupported, "it begins too far from 0 s for a record at the new rate");
}

}  // namespace

std::int32_t RateChange::Ratio() const {
    return CMatMrf::ConvCodeToOvsRat(code);
}

double RateChange::RateAfter(double rate) const {
    return mode == CMatFir::RATE_INTERPOLATE ? rate * Ratio() : rate / Ratio();
}

std::vector<RateChange> RateChanges() {
    std::vector<RateChange> changes;
    for (int code = CMatMrf::OVS_RAT_500; code > CMatMrf::OVS_RAT_1; --code) {
        changes.push_back({CMatFir::RATE_INTERPOLATE, static_cast<CMatMrf::OVS_RAT>(code)});
    }
    changes.push_back({});
    for (int code = CMatMrf::OVS_RAT_2; code <= CMatMrf::OVS_RAT_500; ++code) {
        changes.push_back({CMatFir::RATE_DECIMATE, static_cast<CMatMrf::OVS_RAT>(code)});
    }
    return changes;
}

std::optional<RateChange> FindRateChange(CMatFir::RATE_CONV mode, std::int64_t ratio) {
    for (const RateChange& change : RateChanges()) {
        if (change.Ratio() == ratio && (change.mode == mode || ratio == 1)) return change;
    }
    return std::nullopt;
}

std::optional<RateChange> FindRateChange(double fromHz, double toHz) {
    constexpr double kClockAccuracy = 1e-6;
    for (const RateChange& change : RateChanges()) {
        if (std::abs(change.RateAfter(fromHz) / toHz - 1.0) <= kClockAccuracy) return change;
    }
    return std::nullopt;
}

std::vector<RateChange> NearestRateChanges(double fromHz, double toHz) {
    const std::vector<RateChange> changes = RateChanges();
    const auto below = std::ranges::find_if(
        changes, [&](const RateChange& change) { return change.RateAfter(fromHz) < toHz; });
    std::vector<RateChange> nearest;
    if (below != changes.end()) nearest.push_back(*below);
    if (below != changes.begin()) nearest.push_back(*std::prev(below));
    return nearest;
}

ResamplingPlan PlanResampling(const SampleTimes& times, const RateChange& change, bool keepDelay) {
    // Where the pass band of the cascades ends, of the lower rate.
    constexpr double kPassBand = 1.0 / kRateOverBand;
    // Within these limits nothing that follows overflows.
    constexpr __int64 kMost = std::numeric_limits<std::int32_t>::max();
    constexpr __int64 kMostSamples = std::numeric_limits<__int64>::max() / 1024;
    RequireRatio(change);
    const __int64 ratio = change.Ratio();
    if (!(times.delta > 0.0) || !std::isfinite(times.delta))
        throw Error(ErrorKind::kBadValue, "the spacing of its samples is no number above 0");
    if (times.samples > kMostSamples) throw Error(ErrorKind::kUnsupported, "it has too many samples");
    if (std::abs(times.offset) > kMostSamples) ThrowTooFar();
    const __int64 delay = CascadeDelay(change.code);  // in samples of the higher rate
    ResamplingPlan plan = {change, keepDelay, times};
    SampleTimes& after = plan.after;
    if (change.mode == CMatFir::RATE_DECIMATE) {
        after.delta = times.delta * static_cast<double>(ratio);
        after.offset = FloorDivide(times.offset + (keepDelay ? 0 : ratio - 1), ratio);
        const __int64 first = after.offset * ratio - times.offset;
        after.samples = keepDelay ? times.samples / ratio : (times.samples - first + ratio - 1) / ratio;
        plan.delaySeconds = static_cast<double>(keepDelay ? delay + 1 - ratio + first : delay) * times.delta;
    } else {
        after.delta = times.delta / static_cast<double>(ratio);
        after.offset = times.offset * ratio;
        after.samples = times.samples * ratio;
        plan.delaySeconds = static_cast<double>(delay) * after.delta;
    }
    if (after.samples < 1) {
        throw Error(ErrorKind::kBadValue, "its samples are too few for a ratio of " + std::to_string(ratio));
    }
    if (std::abs(after.offset) > kMost) ThrowTooFar();
    plan.bandHz = kPassBand / std::max(times.delta, after.delta);
    return plan;
}

std::unique_ptr<SampleProcess> MakeResampler(const ResamplingPlan& plan, Ends ends) {
    RequireRatio(plan.change);
    return std::make_unique<Resampler>(plan, CourseOf(plan), ends);
}

}  // namespace kvx
