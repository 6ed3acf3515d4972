// SPDX-License-Identifier: MIT
//
// Unit conversion of a long buffer: values per second for one unit and for a compound.
#include <KvxDevCommon01/units/UnitCtrl.h>
#include <KvxDevCommon01/units/UnitText.h>
#include <benchmark/benchmark.h>

#include <string_view>
#include <vector>

namespace {

constexpr __int64 kValues = 1'000'000;

template <typename Real>
void ConvertBuffer(benchmark::State& state, std::wstring_view unitText) {
    const CUnitCtrl unit = kvx::ParseUnit(unitText).value_or(CUnitCtrl());
    const std::vector<Real> source(kValues, Real{1.25});
    std::vector<Real> target(kValues);
    for (auto _ : state) {
        unit.ConvDtoI(target.data(), source.data(), kValues, 1.0, 1);
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kValues);
}

void ConvertDoubles(benchmark::State& state, std::wstring_view unitText) {
    ConvertBuffer<double>(state, unitText);
}
void ConvertFloats(benchmark::State& state, std::wstring_view unitText) {
    ConvertBuffer<float>(state, unitText);
}

void ConvertScalar(benchmark::State& state) {
    const CUnitCtrl unit = kvx::ParseUnit(L"g2/Hz").value_or(CUnitCtrl());
    double value = 1.25;
    for (auto _ : state) benchmark::DoNotOptimize(value = unit.ConvDtoI(value, 1.0, 0));
    state.SetItemsProcessed(state.iterations());
}

BENCHMARK_CAPTURE(ConvertDoubles, Millimetre, L"mm")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(ConvertDoubles, Gravity, L"g")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(ConvertDoubles, Celsius, L"degC")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(ConvertDoubles, Decibel, L"dB")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(ConvertDoubles, DensityCompound, L"g2/Hz")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(ConvertDoubles, FourMembers, L"mV.ms/(mm.g)")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(ConvertFloats, Gravity, L"g")->Unit(benchmark::kMicrosecond);
BENCHMARK(ConvertScalar);

}  // namespace
