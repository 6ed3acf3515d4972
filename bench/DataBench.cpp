// SPDX-License-Identifier: MIT
//
// Speed of the arrays: growth, element-wise arithmetic, sums and ring copies.
#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/DataMatrix.h>
#include <benchmark/benchmark.h>

namespace {

constexpr std::int64_t kSmall = 1'000;
constexpr std::int64_t kLarge = 10'000'000;

void Sizes(benchmark::internal::Benchmark* bench) {
    bench->Arg(kSmall)->Arg(100'000)->Arg(kLarge);
}

void CountItems(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.SetBytesProcessed(state.iterations() * state.range(0) * std::int64_t{sizeof(double)});
}

void AppendOneByOne(benchmark::State& state) {
    for (auto _ : state) {
        CDataArrayDouble array;
        for (std::int64_t i = 0; i < state.range(0); ++i) array.Append(1.0);
        benchmark::DoNotOptimize(array.GetData());
    }
    CountItems(state);
}
BENCHMARK(AppendOneByOne)->Apply(Sizes);

/// Sixteen channels that grow together, so that no block can simply be extended.
void AppendSnapshots(benchmark::State& state) {
    const CDataArrayDouble snapshot(16, 1.0);
    for (auto _ : state) {
        CDataArrayMtxDouble matrix(16, 1, 1);
        for (std::int64_t i = 0; i < state.range(0) / 16; ++i) matrix.Append(snapshot);
        benchmark::DoNotOptimize(matrix.GetDataPtr(0, 0));
    }
    CountItems(state);
}
BENCHMARK(AppendSnapshots)->Apply(Sizes);

/// Runs `operation(a, b)` on arrays of state.range(0) ones.
template <class Operation>
void OnTwoArrays(benchmark::State& state, Operation operation) {
    CDataArrayDouble a(state.range(0), 1.0);
    const CDataArrayDouble b(state.range(0), 1.0);
    for (auto _ : state) {
        benchmark::DoNotOptimize(operation(a, b));
        benchmark::ClobberMemory();
    }
    CountItems(state);
}

#define KVX_BENCH_ARRAYS(Name, expression)                                                         \
    void Name(benchmark::State& state) {                                                           \
        OnTwoArrays(state, []([[maybe_unused]] CDataArrayDouble& a,                                \
                              [[maybe_unused]] const CDataArrayDouble& b) { return expression; }); \
    }                                                                                              \
    BENCHMARK(Name)->Apply(Sizes)

KVX_BENCH_ARRAYS(AddArrays, (a += b).GetNum());
KVX_BENCH_ARRAYS(MultiplyArrays, (a *= b).GetNum());
KVX_BENCH_ARRAYS(DivideArrays, (a /= b).GetNum());
KVX_BENCH_ARRAYS(Scale, (a *= 1.0).GetNum());
KVX_BENCH_ARRAYS(Assign, (a = b).GetNum());
KVX_BENCH_ARRAYS(Sum, b.GetSum());
KVX_BENCH_ARRAYS(SquareSum, b.GetSqSum(0, 0));
KVX_BENCH_ARRAYS(LargestMagnitude, b.GetAbsMax(0, 0));
KVX_BENCH_ARRAYS(SquareSumAroundTheRing, b.GetSqSum(b.GetNum() / 3, 0));
KVX_BENCH_ARRAYS(CopyAroundTheRing, a.Copy(b, b.GetNum() / 3, b.GetNum() / 2, b.GetNum()));
KVX_BENCH_ARRAYS(AddAroundTheRing, a.AddArr(b, b.GetNum() / 3, b.GetNum() / 2, b.GetNum()));

void FindRange(benchmark::State& state) {
    const CDataArrayDouble array(state.range(0), 1.0);
    for (auto _ : state) {
        double min = 0;
        double max = 0;
        double pmin = 0;
        array.GetMinMaxAndPMin(0, &min, &max, &pmin);
        benchmark::DoNotOptimize(min + max + pmin);
    }
    CountItems(state);
}
BENCHMARK(FindRange)->Apply(Sizes);

}  // namespace
