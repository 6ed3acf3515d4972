// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/Clock.h>
#include <gtest/gtest.h>

namespace {

TEST(Clock, TheCountersOfTheHostAgreeAndDoNotGoBack) {
    kvx::Clock& clock = kvx::CurrentClock();
    const std::uint64_t ticks = clock.Ticks64();
    const std::int64_t counter = clock.Counter();
    ASSERT_GT(clock.CounterFrequency(), 0);
    clock.Sleep(2);
    const std::int64_t counterRun = clock.Counter() - counter;
    const std::uint64_t tickRun = clock.Ticks64() - ticks;
    EXPECT_GE(tickRun, 2U);
    EXPECT_GE(counterRun * 1000, 2 * clock.CounterFrequency());
    // The ticks were taken around the counts, and are cut to whole milliseconds.
    EXPECT_GE(static_cast<double>(tickRun) + 1,
              static_cast<double>(counterRun) * 1000 / static_cast<double>(clock.CounterFrequency()));
    EXPECT_LT(clock.Ticks32() - static_cast<std::uint32_t>(ticks), 60'000U);
}

}  // namespace
