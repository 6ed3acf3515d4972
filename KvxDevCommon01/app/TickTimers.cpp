// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/app/TickTimers.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include <KvxDevCommon01/app/detail/Saturate.h>
#include <KvxDevCommon01/platform/Clock.h>

namespace {

// Milliseconds as two's complement, so that the counter may go around.
__int64 WrappingSum(__int64 accumulated, std::uint64_t run) {
    return static_cast<__int64>(static_cast<std::uint64_t>(accumulated) + run);
}

}  // namespace

namespace kvx {

template <std::uint64_t kBackwardCorrection>
void TickStopwatch<kBackwardCorrection>::Start() {
    startTick_ = CurrentClock().Ticks64();
    running_ = 1;
}

template <std::uint64_t kBackwardCorrection>
void TickStopwatch<kBackwardCorrection>::Reset(double seconds) {
    Discard();
    accumulated_ = Saturate<__int64>(std::floor(seconds * 1000 + 0.5));
}

template <std::uint64_t kBackwardCorrection>
void TickStopwatch<kBackwardCorrection>::Reset(__int64 seconds) {
    constexpr __int64 kMost = std::numeric_limits<__int64>::max() / 1000;
    Discard();
    if (seconds > kMost) {
        accumulated_ = std::numeric_limits<__int64>::max();
    } else if (seconds < -kMost) {
        accumulated_ = std::numeric_limits<__int64>::min();
    } else {
        accumulated_ = seconds * 1000;
    }
}

template <std::uint64_t kBackwardCorrection>
int TickStopwatch<kBackwardCorrection>::Restart(double minSeconds, double* elapsed) {
    const double passed = running_ && minSeconds > 0 ? GetElapsed() : 0.0;
    if (elapsed != nullptr) {
        *elapsed = passed;
        if (minSeconds > passed) return 0;
    }
    accumulated_ = 0;
    Start();
    return 1;
}

template <std::uint64_t kBackwardCorrection>
double TickStopwatch<kBackwardCorrection>::GetElapsed() const {
    return static_cast<double>(Total()) * 0.001;
}

template <std::uint64_t kBackwardCorrection>
__int64 TickStopwatch<kBackwardCorrection>::GetElapsed64() const {
    return Total() / 1000;
}

template <std::uint64_t kBackwardCorrection>
void TickStopwatch<kBackwardCorrection>::Pause() {
    accumulated_ = Total();
    running_ = 0;
}

template <std::uint64_t kBackwardCorrection>
void TickStopwatch<kBackwardCorrection>::Discard() {
    running_ = 0;
    startTick_ = 0;
}

template <std::uint64_t kBackwardCorrection>
std::uint64_t TickStopwatch<kBackwardCorrection>::CurrentRun(std::uint64_t correction) const {
    const std::uint64_t now = CurrentClock().Ticks64();
    return now - startTick_ + (now < startTick_ ? correction : 0);
}

template <std::uint64_t kBackwardCorrection>
__int64 TickStopwatch<kBackwardCorrection>::Total() const {
    return running_ ? WrappingSum(accumulated_, CurrentRun(kBackwardCorrection)) : accumulated_;
}

template class TickStopwatch<kHalfTickRange>;
template class TickStopwatch<0>;

}  // namespace kvx

int CTimerTickCount64::IsElapsed(__int64 ms) const {
    if (!IsActive()) return 0;
    return ms <= 0 || CurrentRun(kvx::kHalfTickRange) >= static_cast<std::uint64_t>(ms);
}

void CTimerTickCount::Start() {
    startTick_ = kvx::CurrentClock().Ticks32();
    running_ = 1;
}

void CTimerTickCount::Stop() {
    *this = {};
}

int CTimerTickCount::IsElapsed(std::uint32_t ms) const {
    return running_ && kvx::CurrentClock().Ticks32() - startTick_ >= ms;
}
