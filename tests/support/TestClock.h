// SPDX-License-Identifier: MIT
//
// A clock that a test turns by hand, in place of the host's while the object lives. Sleeping turns it too,
// and takes no time.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>

#include <KvxDevCommon01/platform/Clock.h>

/// Lets other threads go on. A nap, because a thread that only yields waits its full turn on a busy machine.
inline void LetOthersRun() {
    std::this_thread::sleep_for(std::chrono::microseconds(1));
}

class TestClock final : public kvx::Clock {
public:
    TestClock() : previous_(kvx::SetClock(this)) {}
    ~TestClock() { kvx::SetClock(previous_); }
    TestClock(const TestClock&) = delete;
    TestClock& operator=(const TestClock&) = delete;

    std::uint64_t Ticks64() override { return ticks; }
    std::uint32_t Ticks32() override { return static_cast<std::uint32_t>(ticks.load()); }
    std::int64_t CounterFrequency() override { return frequency; }
    std::int64_t Counter() override { return counter.fetch_add(countsPerLook); }
    void Sleep(std::uint32_t milliseconds) override {
        ticks += milliseconds;
        slept += milliseconds;
        LetOthersRun();
    }

    std::atomic<std::uint64_t> ticks = 1'000'000;
    std::atomic<std::uint64_t> slept = 0;
    std::atomic<std::int64_t> counter = 0;
    std::int64_t countsPerLook = 0;  // what passes with every look at the counter
    std::int64_t frequency = 1000;

private:
    kvx::Clock* previous_;
};
