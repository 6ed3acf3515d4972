// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/app/WaitTimer.h>

#include <KvxDevCommon01/app/detail/Saturate.h>
#include <KvxDevCommon01/platform/Clock.h>
#include <KvxDevCommon01/units/UnitCtrl.h>
#include <KvxDevCommon01/units/UnitNames.h>

namespace {

std::uint32_t Milliseconds(double seconds) {
    return kvx::Saturate<std::uint32_t>(kvx::SingleUnit(kvx::units::kMillisecond).ConvDtoI(seconds, 1.0, 0));
}

}  // namespace

CWaitTimer::CWaitTimer() {
    timer_.Start();
}

void CWaitTimer::SetLoadControlCondition(double period, double sleep) {
    loadControlPeriod_ = period;
    loadControlSleep_ = sleep;
}

void CWaitTimer::GetLoadControlCondition(double* period, double* sleep) const {
    if (period != nullptr) *period = loadControlPeriod_;
    if (*sleep != 0.0) *sleep = loadControlSleep_;
}

int CWaitTimer::LoadControlWait() {
    const bool isOver = timer_.GetElapsed() > loadControlPeriod_;
    if (isOver) NormalWait(loadControlSleep_);
    if (isOver || !timer_.IsActive()) {
        timer_.Reset();
        timer_.Start();
    }
    return isOver;
}

void CWaitTimer::NormalWait(double seconds) {
    kvx::CurrentClock().Sleep(Milliseconds(seconds));
}

void CWaitTimer::ShortWait(double seconds) {
    if (!timer_.IsAvailable()) return NormalWait(seconds);
    timer_.Start();
    const double start = timer_.GetElapsed();
    while (timer_.GetElapsed() - start < seconds) {
    }
}
