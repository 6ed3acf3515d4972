// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/MatMrf.h>

#include <KvxDevCommon01/data/Ring.h>
#include <KvxDevCommon01/dsp/detail/FirCoefficients.h>
#include <KvxDevCommon01/dsp/detail/IntegerSamples.h>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace {

constexpr __int64 kBlock = 1024;

constexpr auto L2 = CMatFir::FIR_COEF_2;
constexpr auto L4 = CMatFir::FIR_COEF_4;
constexpr auto S4 = CMatFir::FIR_COEF_4_SHORT;
constexpr auto L5 = CMatFir::FIR_COEF_5;
constexpr auto S5 = CMatFir::FIR_COEF_5_SHORT;

constexpr std::size_t Index(int index) {
    return static_cast<std::size_t>(index);
}

struct StagePlan {
    std::int32_t ratio;
    int count;
    std::array<CMatFir::FIR_COEF, 4> sets;  // as they follow when decimating
};

// One row per code. The stage at the lowest rate, whose pass band is that of the whole cascade, has a long
// filter; the others only keep that band free of aliases and have short ones. Factors of 5 come first, so
// that as little as possible is computed at high rates.
// clang-format off
constexpr std::array<StagePlan, 20> kPlans = {{
    {  1, 0, {}},
    {  2, 1, {L2}},
    {  4, 1, {L4}},
    {  5, 1, {L5}},
    {  8, 2, {S4, L2}},
    { 10, 2, {S5, L2}},
    { 16, 2, {S4, L4}},
    { 20, 2, {S5, L4}},
    { 25, 2, {S5, L5}},
    { 32, 3, {S4, S4, L2}},
    { 40, 3, {S5, S4, L2}},
    { 50, 3, {S5, S5, L2}},
    { 80, 3, {S5, S4, L4}},
    {100, 3, {S5, S5, L4}},
    {160, 4, {S5, S4, S4, L2}},
    {200, 4, {S5, S5, S4, L2}},
    {250, 4, {S5, S5, S5, L2}},
    {320, 4, {S5, S4, S4, L4}},
    {400, 4, {S5, S5, S4, L4}},
    {500, 4, {S5, S5, S5, L4}},
}};
// clang-format on

constexpr bool AreFactorsOfTheirRatios() {
    return std::ranges::all_of(kPlans, [](const StagePlan& plan) {
        int product = 1;
        for (int i = 0; i < plan.count; ++i) product *= kvx::RateChangeOf(plan.sets[Index(i)]);
        return product == plan.ratio;
    });
}
static_assert(AreFactorsOfTheirRatios());
static_assert(std::ranges::is_sorted(kPlans, {}, &StagePlan::ratio));

/// The plan of a code; null for an unknown one.
const StagePlan* PlanOf(CMatMrf::OVS_RAT code) {
    const auto row = static_cast<std::size_t>(code);
    return row < kPlans.size() ? &kPlans[row] : nullptr;
}

/// Feeds `num` samples of a ring by feed(samples, count).
template <typename Element, class Feed>
int FeedRing(const Element* data, __int64 start, __int64 num, __int64 ringLength, Feed feed) {
    if (data == nullptr || num < 0 || ringLength < 1) return 0;
    int kept = feed(data, 0);
    kvx::WalkRings(
        num, [&](__int64 run, const Element* samples) { kept &= feed(samples, run); },
        kvx::Ring<const Element>{data, ringLength, kvx::WrapIndex(start, ringLength)});
    return kept;
}

/// Feeds `num` samples of an array.
template <class Array, class Feed>
int FeedArray(const Array& data, __int64 start, __int64 num, int isRing, Feed feed) {
    if (isRing) return FeedRing(data.GetData(), start, num, data.GetNum(), feed);
    if (start < 0 || start > data.GetNum() || num < 0 || num > data.GetNum() - start) return 0;
    return feed(data.GetData() + start, num);
}

/// Writes `count` results to a ring by take(samples, count).
template <typename Element, class Take>
__int64 TakeToRing(Element* out, __int64 start, __int64 count, __int64 ringLength, Take take) {
    if (out == nullptr || count < 1 || ringLength < 1) return 0;
    kvx::WalkRings(
        count, [&](__int64 run, Element* samples) { take(samples, run); },
        kvx::Ring<Element>{out, ringLength, kvx::WrapIndex(start, ringLength)});
    return count;
}

/// Writes `count` results to an array, which ends behind them unless it is a ring.
template <class Array, class Take>
__int64 TakeToArray(Array* out, __int64 start, __int64 count, int isRing, Take take) {
    if (out == nullptr || count < 1) return 0;
    if (isRing) return TakeToRing(out->GetData(), start, count, out->GetNum(), take);
    if (start < 0 || start > out->GetNum()) return 0;
    if (out->GetNum() == start + count) {
        take(out->GetData() + start, count);
        return count;
    }
    Array longer(start + count, nullptr);
    if (longer.GetNum() == 0) return 0;
    std::copy_n(out->GetData(), start, longer.GetData());
    take(longer.GetData() + start, count);
    *out = std::move(longer);
    return count;
}

}  // namespace

std::int32_t CMatMrf::ConvCodeToOvsRat(OVS_RAT code) {
    const StagePlan* const plan = PlanOf(code);
    return plan != nullptr ? plan->ratio : 0;
}

CMatMrf::OVS_RAT CMatMrf::ConvOvsRatToCode(std::int32_t ratio) {
    const auto row = std::ranges::find(kPlans, ratio, &StagePlan::ratio);
    return row != kPlans.end() ? static_cast<OVS_RAT>(row - kPlans.begin()) : OVS_RAT_UNKNOWN;
}

int CMatMrf::SetConvCond(CMatFir::RATE_CONV mode, OVS_RAT code, __int64 outBufSize, int delayOnly) {
    const bool isChange = mode == CMatFir::RATE_INTERPOLATE || mode == CMatFir::RATE_DECIMATE;
    *this = CMatMrf();
    mode_ = isChange ? mode : CMatFir::RATE_NONE;
    code_ = code;
    outBufSize_ = outBufSize;
    const StagePlan* const plan = PlanOf(isChange ? code : OVS_RAT_1);
    if (plan == nullptr) return 0;

    // Without a rate change one stage is there for the buffer of results.
    constexpr double kUnity = 1.0;
    stageCount_ = std::max(plan->count, 1);
    int isBuilt = plan->count > 0 || stages_[0].SetCoef(&kUnity, 1, 0.0) ? 1 : 0;
    const bool isDecimation = mode_ == CMatFir::RATE_DECIMATE;
    // What is fed at once makes about kBlock samples between two stages at most: behind the first stage, or
    // ahead of the last one, the first of the plan's row.
    if (plan->count > 0) {
        const int change = kvx::RateChangeOf(plan->sets[0]);
        feedSize_ = isDecimation ? kBlock * change : kBlock * change / plan->ratio;
    }
    std::int32_t product = 1;
    for (int i = 0; i < plan->count; ++i) {
        const CMatFir::FIR_COEF set = plan->sets[Index(isDecimation ? i : plan->count - 1 - i)];
        const int ratio = kvx::RateChangeOf(set);
        product *= ratio;
        CMatFir& stage = stages_[Index(i)];
        isBuilt &= stage.SetStdCoef(set, delayOnly) & stage.SetRateConv(mode_, ratio) &
                   stage.SetOutBufSize(isDecimation ? feedSize_ / product + 1 : feedSize_ * product);
        delay_ += stage.GetDelay() / product;
    }
    isBuilt &= LastStage().SetOutBufSize(outBufSize);
    if (isBuilt && InitData()) return 1;
    stages_ = {};
    stageCount_ = 0;
    delay_ = 0.0;
    return 0;
}

CMatFir::RATE_CONV CMatMrf::GetConvCond(OVS_RAT* code, __int64* outBufSize) const {
    if (code != nullptr) *code = code_;
    if (outBufSize != nullptr) *outBufSize = outBufSize_;
    return mode_;
}

int CMatMrf::InitData() {
    int isReady = stageCount_ > 0 ? 1 : 0;
    for (CMatFir& stage : Stages()) isReady &= stage.PrepFir();
    return isReady;
}

int CMatMrf::ClearResult() {
    return stageCount_ > 0 ? LastStage().ClearResult() : 0;
}

int CMatMrf::Feed(const double* x, __int64 n) {
    if (stageCount_ == 0) return 0;
    int kept = 1;
    while (n > 0) {
        const __int64 run = std::min(n, feedSize_);
        std::span samples(x, static_cast<std::size_t>(run));
        for (CMatFir& stage : Stages().first(Stages().size() - 1)) {
            kept &= stage.SetInputData(samples.data(), std::ssize(samples));
            samples = stage.TakeInPlace();
        }
        kept &= LastStage().SetInputData(samples.data(), std::ssize(samples));
        x += run;
        n -= run;
    }
    return kept;
}

int CMatMrf::FeedLong(const std::int32_t* x, __int64 n) {
    if (stageCount_ == 0) return 0;
    return kvx::FeedIntegers(x, n,
                             [this](const double* samples, __int64 count) { return Feed(samples, count); });
}

int CMatMrf::SetInputData(double x) {
    return Feed(&x, 1);
}

int CMatMrf::SetInputData(const double* data, __int64 start, __int64 num, __int64 ringLength) {
    return FeedRing(data, start, num, ringLength, [this](const double* x, __int64 n) { return Feed(x, n); });
}

int CMatMrf::SetInputData(const CDataArrayDouble& data, __int64 start, __int64 num, int isRing) {
    return FeedArray(data, start, num, isRing, [this](const double* x, __int64 n) { return Feed(x, n); });
}

int CMatMrf::SetInputDataLong(std::int32_t x) {
    return SetInputData(static_cast<double>(x));
}

int CMatMrf::SetInputDataLong(const std::int32_t* data, __int64 start, __int64 num, __int64 ringLength) {
    return FeedRing(data, start, num, ringLength,
                    [this](const std::int32_t* x, __int64 n) { return FeedLong(x, n); });
}

int CMatMrf::SetInputDataLong(const CDataArrayLong& data, __int64 start, __int64 num, int isRing) {
    return FeedArray(data, start, num, isRing,
                     [this](const std::int32_t* x, __int64 n) { return FeedLong(x, n); });
}

double CMatMrf::GetOutputData() {
    return stageCount_ > 0 ? LastStage().GetOutputData() : 0.0;
}

__int64 CMatMrf::GetOutputData(double* out, __int64 start, __int64 num, __int64 ringLength) {
    return TakeToRing(out, start, std::min(num, GetNumOutputData()), ringLength,
                      [this](double* to, __int64 n) { LastStage().GetOutputData(to, n); });
}

__int64 CMatMrf::GetOutputData(CDataArrayDouble* out, __int64 start, __int64 num, int isRing) {
    return TakeToArray(out, start, std::min(num, GetNumOutputData()), isRing,
                       [this](double* to, __int64 n) { LastStage().GetOutputData(to, n); });
}

std::int32_t CMatMrf::GetOutputDataLong() {
    return stageCount_ > 0 ? LastStage().GetOutputDataLong() : 0;
}

__int64 CMatMrf::GetOutputDataLong(std::int32_t* out, __int64 start, __int64 num, __int64 ringLength) {
    return TakeToRing(out, start, std::min(num, GetNumOutputData()), ringLength,
                      [this](std::int32_t* to, __int64 n) { LastStage().GetOutputDataLong(to, n); });
}

__int64 CMatMrf::GetOutputDataLong(CDataArrayLong* out, __int64 start, __int64 num, int isRing) {
    return TakeToArray(out, start, std::min(num, GetNumOutputData()), isRing,
                       [this](std::int32_t* to, __int64 n) { LastStage().GetOutputDataLong(to, n); });
}

__int64 CMatMrf::GetNumOutputData() const {
    return stageCount_ > 0 ? stages_[Index(stageCount_ - 1)].GetNumOutputData() : 0;
}

namespace kvx {

__int64 CascadeDelay(CMatMrf::OVS_RAT code) {
    const StagePlan* const plan = PlanOf(code);
    __int64 delay = 0, product = 1;
    for (int i = 0; plan != nullptr && i < plan->count; ++i) {
        const CMatFir::FIR_COEF set = plan->sets[Index(i)];
        delay += product * (static_cast<__int64>(StdCoefToCentre(set).size()) - 1);
        product *= RateChangeOf(set);
    }
    return delay;
}

}  // namespace kvx
