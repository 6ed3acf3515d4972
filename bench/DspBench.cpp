// SPDX-License-Identifier: MIT
//
// Transforms, averaged densities and windows. Where a counter gives FLOPS it counts 2.5 N log2 N per
// transform of N real samples, the usual measure, whatever is really computed.

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/dsp/AveragedSpectrum.h>
#include <KvxDevCommon01/dsp/MatFFT.h>
#include <KvxDevCommon01/dsp/MatWIND.h>
#include <KvxDevCommon01/dsp/RandomWave.h>
#include <KvxDevCommon01/dsp/Windows.h>

#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

namespace {

CDataArrayDouble TestWave(__int64 count) {
    CDataArrayDouble wave(count, 0.0);
    for (__int64 n = 0; n < count; ++n)
        wave[n] = std::sin(0.3 * static_cast<double>(n) + 1e-5 * static_cast<double>(n * n));
    return wave;
}

void CountTransforms(benchmark::State& state, __int64 size) {
    const auto points = static_cast<double>(size);
    state.counters["FLOPS"] =
        benchmark::Counter(2.5 * points * std::log2(points), benchmark::Counter::kIsIterationInvariantRate);
}

void BM_WaveRfft(benchmark::State& state) {
    const __int64 size = state.range(0);
    CDataArrayDouble wave = TestWave(size), work(size, 0.0), re(size / 2, 0.0), im(size / 2, 0.0);
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            CMatFFT::WaveRfft(wave.GetData(), work.GetData(), size, re.GetData(), im.GetData(), size / 2));
    }
    CountTransforms(state, size);
}
BENCHMARK(BM_WaveRfft)->RangeMultiplier(4)->Range(256, 65536)->Arg(131072);

void BM_WaveIfft(benchmark::State& state) {
    const __int64 size = state.range(0);
    CDataArrayDouble wave = TestWave(size), work(size, 0.0), re(size / 2, 0.0), im(size / 2, 0.0);
    CMatFFT::WaveRfft(wave.GetData(), work.GetData(), size, re.GetData(), im.GetData(), size / 2);
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            CMatFFT::WaveIfft(wave.GetData(), work.GetData(), size, re.GetData(), im.GetData(), size / 2));
    }
    CountTransforms(state, size);
}
BENCHMARK(BM_WaveIfft)->RangeMultiplier(4)->Range(256, 65536)->Arg(131072);

/// Density of a million samples in half-overlapping blocks.
void BM_AveragedPsd(benchmark::State& state) {
    constexpr __int64 kSamples = 1000000;
    const CDataArrayDouble wave = TestWave(kSamples);
    const std::vector<double> window = kvx::MakeWindow("hann", state.range(0));
    for (auto _ : state) {
        kvx::AveragedSpectrum spectrum(window, state.range(0) / 2);
        spectrum.Add(wave);
        benchmark::DoNotOptimize(spectrum.Psd(1.0));
    }
    state.SetItemsProcessed(state.iterations() * kSamples);
}
BENCHMARK(BM_AveragedPsd)->Arg(1024)->Arg(4096)->Arg(16384)->Arg(262144)->Unit(benchmark::kMillisecond);

void BM_GenerateRandomWave(benchmark::State& state) {
    CDataArrayDouble wave(state.range(0), 0.0);
    const kvx::PsdProfile profile(std::array{20.0, 2000.0}, std::array{0.01, 0.01});
    for (auto _ : state) benchmark::DoNotOptimize(kvx::GenerateRandomWave(wave, profile, {.rateHz = 5120.0}));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_GenerateRandomWave)->Arg(1000000)->Unit(benchmark::kMillisecond);

template <int (*Generate)(CDataArrayDouble*)>
void BM_Window(benchmark::State& state) {
    CDataArrayDouble window(state.range(0), 0.0);
    for (auto _ : state) benchmark::DoNotOptimize(Generate(&window));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_Window<CMatWIND::GeneHanning>)->Arg(4096);
BENCHMARK(BM_Window<CMatWIND::GeneBlackmanHarris>)->Arg(4096);
BENCHMARK(BM_Window<CMatWIND::GeneFlatTop>)->Arg(4096);

}  // namespace
