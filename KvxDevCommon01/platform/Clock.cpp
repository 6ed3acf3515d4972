// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/Clock.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace kvx {
namespace {

using std::chrono::steady_clock;

class HostClock final : public Clock {
public:
    std::uint64_t Ticks64() override {
        const auto since = steady_clock::now().time_since_epoch();
        return static_cast<std::uint64_t>(std::chrono::floor<std::chrono::milliseconds>(since).count());
    }
    std::uint32_t Ticks32() override { return static_cast<std::uint32_t>(Ticks64()); }
    std::int64_t CounterFrequency() override { return std::nano::den; }
    std::int64_t Counter() override {
        return std::chrono::nanoseconds(steady_clock::now().time_since_epoch()).count();
    }
    void Sleep(std::uint32_t milliseconds) override {
        if (milliseconds == 0) {
            std::this_thread::yield();
        } else {
            std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
        }
    }
};

constinit HostClock hostClock;
std::atomic<Clock*> replacement = nullptr;

}  // namespace

Clock& CurrentClock() {
    Clock* clock = replacement.load();
    return clock != nullptr ? *clock : hostClock;
}

Clock* SetClock(Clock* clock) {
    return replacement.exchange(clock);
}

}  // namespace kvx
