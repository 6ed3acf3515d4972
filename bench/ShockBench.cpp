// SPDX-License-Identifier: MIT
//
// Shock response spectra up to frequencies that need no interpolation and to such that do, beside the
// difference equation as a textbook writes it.

#include <KvxDevCommon01/dsp/ShockSpectrum.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

namespace {

constexpr std::int64_t kSamples = 65536;
constexpr double kRate = 10000.0;

std::vector<double> TestWave() {
    std::vector<double> wave(kSamples);
    for (std::size_t i = 0; i < wave.size(); ++i) wave[i] = std::sin(0.3 * static_cast<double>(i));
    return wave;
}

/// Samples times frequencies per second, of frequencies up to the one given.
void BM_ShockSpectrum(benchmark::State& state) {
    const std::vector<double> wave = TestWave();
    const auto highest = static_cast<double>(state.range(0));
    const kvx::ShockSettings settings = {kRate, kvx::FrequenciesPerOctave(1.0, highest, 12)};
    for (auto _ : state) {
        kvx::ShockSpectrum spectrum(settings);
        spectrum.Add(wave);
        benchmark::DoNotOptimize(spectrum.Extremes());
    }
    const auto count = static_cast<std::int64_t>(settings.frequencies.size());
    state.SetItemsProcessed(state.iterations() * kSamples * count);
}
BENCHMARK(BM_ShockSpectrum)->Arg(300)->Arg(1000)->Arg(3900)->UseRealTime();

/// y = b0 x + b1 x1 + b2 x2 + a1 y1 + a2 y2 and its extremes, one frequency after the other.
void BM_ShockTextbook(benchmark::State& state) {
    constexpr int kFrequencies = 8;
    const std::vector<double> wave = TestWave();
    for (auto _ : state) {
        for (int k = 0; k < kFrequencies; ++k) {
            const double angle = 2.0 * std::numbers::pi * (20.0 + k) / kRate, zeta = 0.05;
            const double fade = std::exp(-zeta * angle), beat = std::sqrt(1.0 - zeta * zeta) * angle;
            const double c = fade * std::cos(beat), s = fade * std::sin(beat) / beat;
            const double b0 = 1.0 - s, b1 = 2.0 * (s - c), b2 = fade * fade - s;
            double x1 = 0.0, x2 = 0.0, y1 = 0.0, y2 = 0.0, high = 0.0, low = 0.0;
            for (const double x : wave) {
                const double y = b0 * x + b1 * x1 + b2 * x2 + 2.0 * c * y1 - fade * fade * y2;
                x2 = x1;
                x1 = x;
                y2 = y1;
                y1 = y;
                high = std::max(high, y);
                low = std::min(low, y);
            }
            benchmark::DoNotOptimize(high);
            benchmark::DoNotOptimize(low);
        }
    }
    state.SetItemsProcessed(state.iterations() * kSamples * kFrequencies);
}
BENCHMARK(BM_ShockTextbook);

}  // namespace
