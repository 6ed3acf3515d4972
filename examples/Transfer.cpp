// SPDX-License-Identifier: MIT
//
// A hammer test: the transfer function from the force of several blows to the acceleration of what they hit,
// with its coherence, and from it the resonance and its damping. The structure is a mass of 2 kg on a spring,
// 80 Hz with 2 % of critical damping, and the accelerometer adds some noise.
//
// It prints:
//
//     4 blows, lines 0.5 Hz apart
//     resonance at 80.0 Hz, Q 25, damping 2.0 %
//     coherence there above 0.99: yes
#include <cmath>
#include <cstdio>
#include <exception>
#include <numbers>
#include <vector>

#include <KvxDevCommon01/Kvx.h>

namespace {

constexpr double kRateHz = 2048.0;
constexpr std::int64_t kBlock = 4096;
constexpr double kResonanceHz = 80.0;
constexpr double kDamping = 0.02;

struct Blow {
    std::vector<double> force = std::vector<double>(kBlock, 0.0);
    std::vector<double> acceleration = std::vector<double>(kBlock, 0.0);
};

/// A half sine of 4 ms and what the mass answers, step by step.
Blow Strike(double newtons, std::uint32_t& noise) {
    Blow blow;
    const double w = 2 * std::numbers::pi * kResonanceHz;
    const int pulse = 8;
    const int steps = 64;  // between samples, so that the answer is that of a continuous structure
    double x = 0.0;
    double v = 0.0;
    for (int i = 0; i < kBlock; ++i) {
        for (int s = 0; s < steps; ++s) {
            const double t = i + static_cast<double>(s) / steps;
            const double force = t < pulse ? newtons * std::sin(std::numbers::pi * t / pulse) : 0.0;
            const double a = force / 2.0 - 2 * kDamping * w * v - w * w * x;
            if (s == 0) {
                noise = noise * 1664525 + 1013904223;
                blow.force[static_cast<std::size_t>(i)] = force;
                blow.acceleration[static_cast<std::size_t>(i)] = a + 0.01 * (noise / 4294967296.0 - 0.5);
            }
            v += a / (kRateHz * steps);
            x += v / (kRateHz * steps);
        }
    }
    return blow;
}

}  // namespace

int main() try {
    // Each blow fills a block, which it begins and ends at rest: no window, no overlap.
    kvx::AveragedTransfer average(kvx::MakeWindow("rectangular", kBlock), 0);
    std::uint32_t noise = 1;
    for (const double newtons : {180.0, 220.0, 150.0, 200.0}) {
        const Blow blow = Strike(newtons, noise);
        average.Add(blow.force, blow.acceleration);
        average.NextSignal();
    }
    const kvx::LineSpectrum transfer =
        kvx::TransferLines(average, kRateHz, kvx::NamedUnit("m/s2"), kvx::NamedUnit("N"));
    const kvx::LineSpectrum coherence = kvx::CoherenceLines(average, kRateHz);
    const kvx::LineBand band = kvx::LinesInBand(20.0, 200.0, transfer.spacingHz, kBlock / 2);
    const std::int64_t highest = kvx::HighestLine(transfer.Levels(), band);
    const auto peaks = kvx::FindPeaks(transfer, band, 1);
    if (peaks.empty() || !peaks.front().q) return 1;

    std::printf("%lld blows, lines %g Hz apart\n", static_cast<long long>(average.Blocks()),
                transfer.spacingHz);
    std::printf("resonance at %.1f Hz, Q %.0f, damping %.1f %%\n", peaks.front().hz, *peaks.front().q,
                100.0 / (2.0 * *peaks.front().q));
    const kvx::TransferLine line = kvx::TransferLineAt(transfer, coherence, highest);
    std::printf("coherence there above 0.99: %s\n", line.coherence > 0.99 ? "yes" : "no");
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
