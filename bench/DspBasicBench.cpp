// SPDX-License-Identifier: MIT
//
// The basic numeric routines over whole signals: element-wise arithmetic, searches, spectrum filters,
// convolution, resampling. Items are samples or bins.

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/DataCplx.h>
#include <KvxDevCommon01/dsp/MatBasic.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

namespace {

CDataArrayDouble Chirp(__int64 count) {
    CDataArrayDouble wave(count, 0.0);
    for (__int64 n = 0; n < count; ++n) {
        wave[n] =
            std::sin(0.3 * static_cast<double>(n) + 1e-6 * static_cast<double>(n) * static_cast<double>(n));
    }
    return wave;
}

CDataArrayDoubleCplx FlatSpectrum(__int64 count) {
    CDataArrayDoubleCplx spectrum(1, count);
    spectrum.SetData(1.0);
    return spectrum;
}

/// Runs the body and counts the samples of the benchmark's argument.
template <class Body>
void Run(benchmark::State& state, Body body) {
    for (auto _ : state) benchmark::DoNotOptimize(body());
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_AddArr(benchmark::State& state) {
    CDataArrayDouble a = Chirp(state.range(0)), b = a;
    Run(state, [&] { return CMatBasic::AddArr(a.GetData(), b.GetData(), a.GetNum()); });
}
BENCHMARK(BM_AddArr)->Arg(4096)->Arg(262144)->Arg(4194304);

void BM_DivArr(benchmark::State& state) {
    CDataArrayDouble a = Chirp(state.range(0)), b(state.range(0), 1.0);
    Run(state, [&] { return CMatBasic::DivArr(a.GetData(), b.GetData(), a.GetNum()); });
}
BENCHMARK(BM_DivArr)->Arg(4096)->Arg(262144);

void BM_SqrtArr(benchmark::State& state) {
    CDataArrayDouble a = Chirp(state.range(0));
    Run(state, [&] { return CMatBasic::SqrtArr(a.GetData(), a.GetNum()); });
}
BENCHMARK(BM_SqrtArr)->Arg(4096)->Arg(262144);

void BM_GetMinMax(benchmark::State& state) {
    const CDataArrayDouble a = Chirp(state.range(0));
    double min, max;
    Run(state, [&] { return CMatBasic::GetMinMax(a.GetNum(), a.GetData(), 0, &min, &max); });
}
BENCHMARK(BM_GetMinMax)->Arg(262144);

void BM_GetTopValueArray(benchmark::State& state) {
    const CDataArrayDouble a = Chirp(state.range(0));
    std::vector<__int64> positions(20);
    Run(state,
        [&] { return CMatBasic::GetTopValueArray(a.GetNum(), a.GetData(), 20, positions.data(), nullptr); });
}
BENCHMARK(BM_GetTopValueArray)->Arg(262144);

void BM_FouToAmp(benchmark::State& state) {
    const CDataArrayDouble re = Chirp(state.range(0)), im(state.range(0), 0.5);
    CDataArrayDouble amp = re, phase = re;
    Run(state, [&] {
        return CMatBasic::FouToAmpFltN(re.GetData(), im.GetData(), amp.GetData(), phase.GetData(),
                                       re.GetNum(), 1);
    });
}
BENCHMARK(BM_FouToAmp)->Arg(65536);

void BM_SpecBwLPFN(benchmark::State& state) {
    CDataArrayDoubleCplx spectrum = FlatSpectrum(state.range(0));
    // Beyond the last bin, so that repeated filtering keeps the values normal.
    Run(state, [&] { return CMatBasic::SpecBwLPFN(&spectrum, 0.0, 1.0, 1e9, 8); });
}
BENCHMARK(BM_SpecBwLPFN)->Arg(65536);

void BM_SpecMul(benchmark::State& state) {
    const CDataArrayDoubleCplx a = FlatSpectrum(state.range(0));
    CDataArrayDoubleCplx out = a;
    Run(state, [&] { return CMatBasic::SpecMul(&out, a, a); });
}
BENCHMARK(BM_SpecMul)->Arg(65536);

/// A million samples through a response of a given block size.
void BM_SpecFiltering(benchmark::State& state) {
    const CDataArrayDouble wave = Chirp(state.range(0));
    const CDataArrayDoubleCplx response = FlatSpectrum(state.range(1) / 2);
    CDataArrayDouble out = wave;
    Run(state, [&] {
        return CMatBasic::SpecFiltering(&out, wave, CMatBasic::TERM_PERIODIC, response, state.range(1));
    });
}
BENCHMARK(BM_SpecFiltering)->Args({1000000, 1024})->Args({1000000, 16384})->Unit(benchmark::kMillisecond);

/// A million samples to another rate; the argument is the new rate for an old one of 1000.
void BM_ConvFs(benchmark::State& state) {
    const CDataArrayDouble wave = Chirp(state.range(0));
    const double newFs = static_cast<double>(state.range(1));
    CDataArrayDouble out;
    Run(state, [&] { return CMatBasic::ConvFs(&out, wave, newFs, 1000.0, CMatBasic::TERM_HOLD); });
}
BENCHMARK(BM_ConvFs)->Args({1000000, 1088})->Args({1000000, 310})->Unit(benchmark::kMillisecond);

void BM_WindowCore(benchmark::State& state) {
    CDataArrayDouble data(state.range(0), 1.0);
    const double step = 6.283185307179586 / static_cast<double>(state.range(0));
    Run(state, [&] { return CMatBasic::WindowCore(1.0, 1e-9, 0.0, step, data.GetNum(), data.GetData()); });
}
BENCHMARK(BM_WindowCore)->Arg(8192);

void BM_AccPsdSpToRmsAVD(benchmark::State& state) {
    const CDataArrayDouble psd(state.range(0), 0.01);
    double acc, vel, disp;
    Run(state, [&] { return CMatBasic::AccPsdSpToRmsAVD(psd, 0.0, 0.5, &acc, &vel, &disp); });
}
BENCHMARK(BM_AccPsdSpToRmsAVD)->Arg(65536);

}  // namespace
