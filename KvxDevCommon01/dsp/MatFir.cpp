// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/MatFir.h>

#include <KvxDevCommon01/dsp/SampleQueue.h>
#include <KvxDevCommon01/dsp/detail/FirCoefficients.h>
#include <KvxDevCommon01/dsp/detail/FirRun.h>
#include <KvxDevCommon01/dsp/detail/IntegerSamples.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <new>
#include <utility>
#include <vector>

struct CMatFir::State {
    std::vector<double> coef;
    kvx::FirMode mode;     // of the run
    std::size_t taps = 0;  // of the run
    std::unique_ptr<kvx::FirRun> run;
    kvx::SampleQueue results;
};

CMatFir::CMatFir() = default;
CMatFir::CMatFir(CMatFir&& other) noexcept = default;
CMatFir::~CMatFir() = default;
CMatFir& CMatFir::operator=(CMatFir&& other) noexcept = default;

CMatFir::CMatFir(const CMatFir& other)
    : delay_(other.delay_),
      mode_(other.mode_),
      ratio_(other.ratio_),
      outBufSize_(other.outBufSize_),
      isDelayOnly_(other.isDelayOnly_),
      isPrepared_(other.isPrepared_) {
    if (other.state_ == nullptr) return;
    try {
        state_ = std::make_unique<State>();
        state_->coef = other.state_->coef;
        state_->results = other.state_->results;
        state_->mode = other.state_->mode;
        state_->taps = other.state_->taps;
        if (other.state_->run != nullptr) state_->run = other.state_->run->Clone();
    } catch (const std::bad_alloc&) {
        // Without a run the copy does nothing until it is prepared.
    }
}

CMatFir& CMatFir::operator=(const CMatFir& other) {
    return *this = CMatFir(other);
}

int CMatFir::SetCoef(const double* coef, __int64 n, double delay) {
    if (coef == nullptr || n < 1) return 0;
    isPrepared_ = false;
    isDelayOnly_ = false;
    delay_ = 0.0;
    if (!SetCoefCount(n)) return 0;
    std::copy_n(coef, n, state_->coef.begin());
    delay_ = std::isfinite(delay) && delay > 0.0 ? delay : 0.5 * static_cast<double>(n - 1);
    return 1;
}

int CMatFir::SetCoef(const CDataArrayDouble& coef, double delay) {
    return SetCoef(coef.GetData(), coef.GetNum(), delay);
}

int CMatFir::SetStdCoef(FIR_COEF set, int delayOnly) {
    const auto toCentre = kvx::StdCoefToCentre(set);
    if (toCentre.empty()) return 0;
    isPrepared_ = false;
    isDelayOnly_ = delayOnly != 0;
    delay_ = 0.0;
    const auto centre = std::ssize(toCentre) - 1;
    if (!SetCoefCount(isDelayOnly_ ? centre + 1 : 2 * centre + 1)) return 0;
    delay_ = static_cast<double>(centre);
    std::vector<double>& coef = state_->coef;
    if (isDelayOnly_) {
        std::ranges::fill(coef, 0.0);
        coef.front() = 1.0;
    } else {
        std::ranges::copy(toCentre, coef.begin());
        std::copy(toCentre.rbegin(), toCentre.rend(), coef.begin() + centre);
    }
    return 1;
}

double CMatFir::GetCoef(CDataArrayDouble* out) const {
    if (out != nullptr) {
        *out = state_ != nullptr ? CDataArrayDouble(std::ssize(state_->coef), state_->coef.data())
                                 : CDataArrayDouble();
    }
    return delay_;
}

int CMatFir::SetRateConv(RATE_CONV mode, __int64 ratio) {
    const bool isChange = (mode == RATE_INTERPOLATE || mode == RATE_DECIMATE) && ratio >= 2;
    isPrepared_ = false;
    mode_ = isChange ? mode : RATE_NONE;
    ratio_ = isChange ? ratio : 1;
    return 1;
}

__int64 CMatFir::GetRateConv(RATE_CONV* mode) const {
    if (mode != nullptr) *mode = mode_;
    return ratio_;
}

int CMatFir::SetOutBufSize(__int64 size) {
    if (size < 1) return 0;
    outBufSize_ = size;
    return 1;
}

int CMatFir::SetCoefCount(__int64 count) {
    try {
        if (state_ == nullptr) state_ = std::make_unique<State>();
        state_->coef.resize(static_cast<std::size_t>(count));
        return 1;
    } catch (const std::exception&) {  // also for a count that no vector can have
        if (state_ != nullptr) state_->coef.clear();
        return 0;
    }
}

int CMatFir::PrepFir() {
    isPrepared_ = false;
    if (state_ == nullptr) return 0;
    State& state = *state_;
    state.results.Clear();
    if (state.coef.empty()) return 0;
    try {
        const kvx::FirMode mode = {mode_, ratio_, isDelayOnly_};
        if (state.run != nullptr && state.mode == mode && state.taps == state.coef.size()) {
            state.run->Reset(state.coef);
        } else {
            state.run.reset();
            state.run = kvx::MakeFirRun(mode, state.coef);
            state.mode = mode;
            state.taps = state.coef.size();
        }
        state.results.SetSize(outBufSize_);
    } catch (const std::bad_alloc&) {
        return 0;
    }
    isPrepared_ = true;
    return 1;
}

/// A copy that could not be allocated lacks its run.
inline bool CMatFir::Prepare() {
    if (isPrepared_) return state_ != nullptr && state_->run != nullptr;
    return PrepFir() != 0;
}

int CMatFir::SetInputData(double x) {
    return Prepare() && state_->run->Feed(&x, 1, &state_->results) ? 1 : 0;
}

int CMatFir::SetInputData(const double* x, __int64 n) {
    if (n < 0 || (x == nullptr && n > 0) || !Prepare()) return 0;
    return state_->run->Feed(x, n, &state_->results) ? 1 : 0;
}

int CMatFir::SetInputData(const CDataArrayDouble& x) {
    return SetInputData(x.GetData(), x.GetNum());
}

int CMatFir::SetInputDataLong(std::int32_t x) {
    return SetInputData(static_cast<double>(x));
}

int CMatFir::SetInputDataLong(const std::int32_t* x, __int64 n) {
    if (n < 0 || (x == nullptr && n > 0) || !Prepare()) return 0;
    return kvx::FeedIntegers(
        x, n, [this](const double* samples, __int64 count) { return SetInputData(samples, count); });
}

int CMatFir::SetInputDataLong(const CDataArrayLong& x) {
    return SetInputDataLong(x.GetData(), x.GetNum());
}

double CMatFir::GetOutputData() {
    return state_ != nullptr ? state_->results.Take() : 0.0;
}

__int64 CMatFir::GetOutputData(double* out, __int64 n) {
    const __int64 count = std::min(n, GetNumOutputData());
    if (out == nullptr || count < 1) return 0;
    return state_->results.Take({out, static_cast<std::size_t>(count)});
}

std::span<const double> CMatFir::TakeInPlace() {
    return state_ != nullptr ? state_->results.TakeInPlace() : std::span<const double>();
}

std::int32_t CMatFir::GetOutputDataLong() {
    return kvx::RoundToInteger(GetOutputData());
}

__int64 CMatFir::GetOutputDataLong(std::int32_t* out, __int64 n) {
    if (out == nullptr) return 0;
    return kvx::TakeIntegers(
        out, n, [this](double* samples, __int64 count) { return GetOutputData(samples, count); });
}

int CMatFir::ClearResult() {
    if (!Prepare()) return 0;
    state_->results.Clear();
    return 1;
}

__int64 CMatFir::GetNumOutputData() const {
    return state_ != nullptr ? state_->results.GetNum() : 0;
}
