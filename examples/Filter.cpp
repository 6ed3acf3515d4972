// SPDX-License-Identifier: MIT
//
// Filters a signal in blocks, as it comes from a recorder: two channels at 8192 Hz with a vibration at 40 Hz,
// an offset and a disturbance at 3000 Hz lose the offset and the disturbance and leave at a quarter of the
// rate. Nothing of the signal is kept but what the filters remember.
//
// It prints:
//
//     channel 1: rms 10.2470 becomes 0.7073, of the vibration 0.7071
//     channel 2: rms 10.2286 becomes 0.3537, of the vibration 0.3536
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <numbers>
#include <span>
#include <utility>
#include <vector>

#include <KvxDevCommon01/Kvx.h>

namespace {

constexpr kvx::SampleTimes kTimes = {.delta = 1.0 / 8192.0, .offset = 0, .samples = 60 * 8192};
constexpr std::size_t kChannels = 2;
constexpr std::size_t kBlock = 1000;

/// The channel's sample at that index.
double Sample(std::size_t channel, __int64 index) {
    const double turns = static_cast<double>(index) * kTimes.delta * 2.0 * std::numbers::pi;
    return 10.0 + std::sin(40.0 * turns) / static_cast<double>(channel + 1) + 3.0 * std::sin(3000.0 * turns);
}

std::unique_ptr<kvx::SampleProcess> MakeProcess(const kvx::ResamplingPlan& plan, kvx::RmsChange& levels) {
    using Pass = kvx::IirFilter::Pass;
    std::vector<std::unique_ptr<kvx::SampleProcess>> links;
    links.push_back(
        kvx::MakeIir({.pass = Pass::high, .order = 2, .cornerHz = 1.0}, kTimes.delta, kvx::Ends::held));
    links.push_back(kvx::MakeResampler(plan, kvx::Ends::held));
    return kvx::MakeMeasured(kvx::MakeChain(std::move(links)), levels);
}

}  // namespace

int main() {
    try {
        const kvx::RateChange change = kvx::FindRateChange(CMatFir::RATE_DECIMATE, 4).value();
        const kvx::ResamplingPlan plan = kvx::PlanResampling(kTimes, change, false);
        std::vector<kvx::RmsChange> levels(kChannels);
        std::vector<std::unique_ptr<kvx::SampleProcess>> processes;
        for (kvx::RmsChange& level : levels) processes.push_back(MakeProcess(plan, level));

        __int64 read = 0;
        __int64 written = 0;
        const auto readBlock = [&](std::span<double* const> channels, std::size_t room) {
            const auto count = std::min(static_cast<__int64>(room), kTimes.samples - read);
            for (std::size_t c = 0; c < channels.size(); ++c) {
                for (__int64 i = 0; i < count; ++i) channels[c][i] = Sample(c, read + i);
            }
            read += count;
            return static_cast<std::size_t>(count);
        };
        const auto writeBlock = [&](std::span<double* const>, std::size_t count) {
            written += static_cast<__int64>(count);
        };
        kvx::RunProcesses(processes, kBlock, readBlock, writeBlock);

        bool isRight = written == plan.after.samples;
        for (std::size_t c = 0; c < kChannels; ++c) {
            const double expected = std::numbers::sqrt2 / 2.0 / static_cast<double>(c + 1);
            std::printf("channel %d: rms %.4f becomes %.4f, of the vibration %.4f\n", static_cast<int>(c + 1),
                        levels[c].before.Get(), levels[c].after.Get(), expected);
            isRight = isRight && std::abs(levels[c].after.Get() / expected - 1.0) < 0.01;
        }
        return isRight ? 0 : 1;
    } catch (const kvx::Error& error) {
        std::printf("%s\n", error.what());
        return 1;
    }
}
