// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/app/Ptimer.h>
#include <KvxDevCommon01/app/TickTimers.h>
#include <KvxDevCommon01/app/WaitTimer.h>
#include <gtest/gtest.h>

#include <limits>

#include "tests/support/TestClock.h"

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr __int64 kMost = std::numeric_limits<__int64>::max();
constexpr __int64 kLeast = std::numeric_limits<__int64>::min();

void Pause(CTimeCount& timer) {
    timer.Stop();
}
void Pause(CTimerTickCount64& timer) {
    timer.ReturnStop();
}

template <typename Timer>
class Stopwatch : public testing::Test {
protected:
    TestClock clock_;
    Timer timer_;
};
using Stopwatches = testing::Types<CTimeCount, CTimerTickCount64>;
TYPED_TEST_SUITE(Stopwatch, Stopwatches);

TYPED_TEST(Stopwatch, ElapsedTimeIsTheAccumulatedTimeAndTheCurrentRun) {
    auto& timer = this->timer_;
    EXPECT_EQ(timer.GetElapsed(), 0.0);
    timer.Reset(__int64{2});
    timer.Start();
    this->clock_.ticks += 1999;
    EXPECT_EQ(timer.IsActive(), 1);
    EXPECT_DOUBLE_EQ(timer.GetElapsed(), 3.999);
    EXPECT_EQ(timer.GetElapsed64(), 3);
    timer.Start();  // drops the run under way
    EXPECT_DOUBLE_EQ(timer.GetElapsed(), 2.0);
    this->clock_.ticks += 1500;
    Pause(timer);
    this->clock_.ticks += 9000;
    Pause(timer);
    EXPECT_EQ(timer.IsActive(), 0);
    EXPECT_DOUBLE_EQ(timer.GetElapsed(), 3.5);
}

TYPED_TEST(Stopwatch, ResetRoundsToMillisecondsAndHoldsAtTheLimits) {
    const struct {
        double seconds;
        double elapsed;
        __int64 whole;
    } cases[] = {
        {1.2345, 1.235, 1},
        {-1.2346, -1.235, -1},
        {0.0004, 0.0, 0},
        {kNaN, 0.0, 0},
        {kInfinity, static_cast<double>(kMost) * 0.001, kMost / 1000},
        {-kInfinity, static_cast<double>(kLeast) * 0.001, kLeast / 1000},
    };
    this->timer_.Start();
    for (const auto& c : cases) {
        this->timer_.Reset(c.seconds);
        EXPECT_EQ(this->timer_.IsActive(), 0);
        EXPECT_DOUBLE_EQ(this->timer_.GetElapsed(), c.elapsed) << c.seconds;
        EXPECT_EQ(this->timer_.GetElapsed64(), c.whole) << c.seconds;
    }
    for (const __int64 seconds : {kMost, kMost / 1000, kLeast / 1000, kLeast}) {
        this->timer_.Reset(seconds);
        EXPECT_EQ(this->timer_.GetElapsed64(), seconds < 0 ? kLeast / 1000 : kMost / 1000);
    }
}

TYPED_TEST(Stopwatch, RestartActsOncePerInterval) {
    double elapsed = -1;
    const struct {
        std::uint64_t passedMs;
        double minSeconds;
        double* out;
        int result;
        double elapsed;  // what the caller's variable holds then
        double left;
    } steps[] = {
        {1000, 2.0, &elapsed, 0, 0.0, 3.0},  // not running: 0 s have passed, and it is not started
        {1000, 5.0, nullptr, 1, 0.0, 0.0},   {1000, 5.0, &elapsed, 0, 1.0, 1.0},
        {4000, 5.0, &elapsed, 1, 5.0, 0.0},  {1000, 5.0, nullptr, 1, 5.0, 0.0},
        {1000, 0.0, &elapsed, 1, 0.0, 0.0},  {1000, -1.0, &elapsed, 1, 0.0, 0.0},
        {1000, kNaN, &elapsed, 1, 0.0, 0.0},
    };
    this->timer_.Reset(3.0);
    for (const auto& step : steps) {
        SCOPED_TRACE(&step - steps);
        this->clock_.ticks += step.passedMs;
        EXPECT_EQ(this->timer_.Restart(step.minSeconds, step.out), step.result);
        EXPECT_DOUBLE_EQ(elapsed, step.elapsed);
        EXPECT_DOUBLE_EQ(this->timer_.GetElapsed(), step.left);
        EXPECT_EQ(this->timer_.IsActive(), &step != steps);
    }
}

TEST(TimeCount, EqualityComparesAllFields) {
    TestClock clock;
    CTimeCount a;
    CTimeCount b;
    EXPECT_TRUE(a == b);
    a.Start();
    EXPECT_TRUE(a != b);
    b.Start();
    EXPECT_TRUE(a == b);
    clock.ticks += 1;
    b.Start();
    EXPECT_FALSE(a == b) << "start ticks differ";
    a.Reset(1.0);
    b.Reset(1.0);
    EXPECT_TRUE(a == b) << "no start is left";
    b.Reset(1.001);
    EXPECT_TRUE(a != b) << "accumulated times differ";
}

TEST(TimeCount, ARunThatEndsBeforeItsStartCountsHalfTheRangeMore) {
    TestClock clock;
    CTimeCount timer;
    timer.Start();
    clock.ticks -= 5;
    // 2^64 - 5 + 2^63, modulo 2^64.
    EXPECT_EQ(timer.GetElapsed64(), (kMost - 4) / 1000);
    EXPECT_DOUBLE_EQ(timer.GetElapsed(), static_cast<double>(kMost - 4) * 0.001);
}

TEST(TimerTickCount64, OnlyIsElapsedCorrectsACounterThatWentBackAndStopLosesTheRun) {
    TestClock clock;
    CTimerTickCount64 timer;
    EXPECT_EQ(timer.IsElapsed(0), 0) << "not running";
    timer.Reset(10.0);
    timer.Start();
    clock.ticks += 2000;
    EXPECT_EQ(timer.IsElapsed(2000), 1) << "the accumulated time does not count, nor is it missing";
    EXPECT_EQ(timer.IsElapsed(2001), 0);
    EXPECT_EQ(timer.IsElapsed(-1), 1);
    clock.ticks -= 2500;
    EXPECT_DOUBLE_EQ(timer.GetElapsed(), 9.5);
    EXPECT_EQ(timer.GetElapsed64(), 9);
    // 2^64 - 500 + 2^63, modulo 2^64: 500 short of 2^63.
    EXPECT_EQ(timer.IsElapsed(kMost - 499), 1);
    EXPECT_EQ(timer.IsElapsed(kMost - 498), 0);
    timer.Stop();
    EXPECT_EQ(timer.IsActive(), 0);
    EXPECT_DOUBLE_EQ(timer.GetElapsed(), 10.0);
}

TEST(TimerTickCount, AnIntervalMayCrossOneWrapOfTheCounter) {
    TestClock clock;
    CTimerTickCount timer;
    EXPECT_EQ(timer.IsElapsed(0), 0);
    clock.ticks = 0xFFFFFFFE;
    timer.Start();
    EXPECT_EQ(timer.IsActive(), 1);
    clock.ticks += 9;
    EXPECT_EQ(timer.IsElapsed(9), 1);
    EXPECT_EQ(timer.IsElapsed(10), 0);
    timer.Stop();
    EXPECT_EQ(timer.IsActive(), 0);
    EXPECT_EQ(timer.IsElapsed(0), 0);
}

TEST(Ptimer, RunsAddUpUntilReset) {
    TestClock clock;
    CPtimer timer;
    timer.Start();
    clock.counter += 250;
    timer.Start();  // runs already
    clock.counter += 250;
    EXPECT_DOUBLE_EQ(timer.Stop(), 0.5);
    clock.counter += 1000;
    EXPECT_DOUBLE_EQ(timer.Stop(), 0.5);
    timer.Start();
    clock.counter -= 100;
    EXPECT_DOUBLE_EQ(timer.GetElapsed(), 0.4) << "a counter that goes back takes time away";
    timer.Reset();
    EXPECT_EQ(timer.IsActive(), 0);
    EXPECT_EQ(timer.GetElapsed(), 0.0);

    clock.counter = kMost - 1;
    timer.Start();
    clock.counter = kLeast + 1;
    EXPECT_DOUBLE_EQ(timer.GetElapsed(), 0.003) << "across the end of the counter";
}

TEST(Ptimer, RestartActsWhenThePeriodIsExceeded) {
    TestClock clock;
    CPtimer timer;
    double elapsed = -1;
    EXPECT_EQ(timer.Restart(1.0, &elapsed), 0);
    EXPECT_EQ(elapsed, 0.0);
    EXPECT_EQ(timer.IsActive(), 1);
    clock.counter += 1000;
    EXPECT_EQ(timer.Restart(1.0, &elapsed), 0) << "reached is not exceeded";
    EXPECT_DOUBLE_EQ(elapsed, 1.0);
    clock.counter += 1;
    EXPECT_EQ(timer.Restart(1.0, nullptr), 1);
    EXPECT_EQ(timer.IsActive(), 1);
    EXPECT_EQ(timer.GetElapsed(), 0.0);
}

TEST(Ptimer, WithoutACounterItNeverRuns) {
    TestClock clock;
    clock.frequency = 0;
    CPtimer timer;
    double elapsed = -1;
    timer.Start();
    EXPECT_EQ(timer.Restart(0.0, &elapsed), 0);
    EXPECT_EQ(elapsed, 0.0);
    EXPECT_EQ(timer.IsActive(), 0);
    EXPECT_EQ(timer.Stop(), 0.0);

    CWaitTimer wait;
    wait.ShortWait(0.25);
    EXPECT_EQ(clock.slept, 250U) << "spinning would never end";
}

TEST(WaitTimer, TheSleepIsReportedOnlyToThoseWhoWantIt) {
    TestClock clock;
    CWaitTimer timer;
    double period = 0.0;
    double sleep = 0.0;
    timer.GetLoadControlCondition(&period, &sleep);
    EXPECT_EQ(period, 0.01);
    EXPECT_EQ(sleep, 0.0);
    timer.SetLoadControlCondition(2.0, 3.0);
    sleep = 1.0;
    timer.GetLoadControlCondition(nullptr, &sleep);
    EXPECT_EQ(sleep, 3.0);
}

TEST(WaitTimer, LoadControlSleepsOncePerPeriodOfWork) {
    TestClock clock;
    CWaitTimer timer;
    timer.SetLoadControlCondition(0.1, 0.25);
    clock.counter += 100;
    EXPECT_EQ(timer.LoadControlWait(), 0);
    clock.counter += 1;
    EXPECT_EQ(timer.LoadControlWait(), 1);
    EXPECT_EQ(clock.slept, 250U);
    EXPECT_EQ(timer.LoadControlWait(), 0) << "the work is timed anew";
}

TEST(WaitTimer, WaitsAreWholeMillisecondsAndDefinedForEveryTime) {
    const struct {
        double seconds;
        std::uint64_t slept;
    } cases[] = {
        {0.0125, 12}, {0.0009, 0}, {1.0, 1000}, {-1.0, 0}, {kNaN, 0}, {kInfinity, 0xFFFFFFFF},
    };
    for (const auto& c : cases) {
        TestClock clock;
        CWaitTimer().NormalWait(c.seconds);
        EXPECT_EQ(clock.slept, c.slept) << c.seconds;
    }
}

TEST(WaitTimer, ShortWaitsSpinUntilTheTimeHasGrownByThatMuch) {
    TestClock clock;
    CWaitTimer timer;
    clock.countsPerLook = 1;
    const std::int64_t start = clock.counter;
    timer.ShortWait(0.02);
    EXPECT_GE(clock.counter - start, 20);
    EXPECT_LE(clock.counter - start, 25);
    timer.ShortWait(-1.0);
    timer.ShortWait(kNaN);
    EXPECT_LE(clock.counter - start, 30);
    EXPECT_EQ(clock.slept, 0U);
}

}  // namespace
