// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/app/Ptimer.h>

#include <KvxDevCommon01/platform/Clock.h>

CPtimer::CPtimer() {
    const __int64 frequency = kvx::CurrentClock().CounterFrequency();
    available_ = frequency > 0;
    secondsPerCount_ = available_ ? 1.0 / static_cast<double>(frequency) : 1.0;
}

void CPtimer::Start() {
    if (!available_ || running_) return;
    startCount_ = kvx::CurrentClock().Counter();
    running_ = 1;
}

double CPtimer::Stop() {
    accumulated_ = TotalCounts();
    running_ = 0;
    return GetElapsed();
}

void CPtimer::Reset() {
    running_ = 0;
    accumulated_ = 0;
    startCount_ = 0;
}

double CPtimer::GetElapsed() const {
    return static_cast<double>(TotalCounts()) * secondsPerCount_;
}

int CPtimer::Restart(double period, double* elapsed) {
    const double passed = running_ ? GetElapsed() : 0.0;
    if (elapsed != nullptr) *elapsed = passed;
    const bool again = running_ && passed > period;
    if (again) Reset();
    Start();
    return again;
}

__int64 CPtimer::TotalCounts() const {
    if (!running_) return accumulated_;
    // In unsigned arithmetic, which may go around.
    const auto now = static_cast<std::uint64_t>(kvx::CurrentClock().Counter());
    const auto start = static_cast<std::uint64_t>(startCount_);
    return static_cast<__int64>(static_cast<std::uint64_t>(accumulated_) + (now - start));
}
