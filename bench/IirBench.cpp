// SPDX-License-Identifier: MIT
//
// Recursive filters: a Butterworth low-pass in blocks and sample by sample, beside its sections run over the
// block one after another and the difference equation as a textbook writes it; and what silence after a
// signal costs.

#include <KvxDevCommon01/dsp/MatIir.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

namespace {

constexpr __int64 kBlock = 16384;
constexpr double kCorner = 0.1;

std::vector<double> TestWave() {
    std::vector<double> wave(kBlock);
    for (std::size_t i = 0; i < wave.size(); ++i) wave[i] = std::sin(0.3 * static_cast<double>(i));
    return wave;
}

double QualityOf(int section, int order) {
    return 0.5 / std::cos(std::numbers::pi * (2 * section + 1) / (2.0 * order));
}

/// Measures run(in, out), which filters a block.
template <class Run>
void Measure(benchmark::State& state, Run run, const std::vector<double>& in = TestWave()) {
    std::vector<double> out(in.size());
    for (auto _ : state) {
        run(in.data(), out.data());
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kBlock);
}

CMatIirNth Butterworth(benchmark::State& state) {
    CMatIirNth filter;
    filter.CalcCoefBwLPF(kCorner, static_cast<std::int32_t>(state.range(0)));
    return filter;
}

void BM_ButterworthBlock(benchmark::State& state) {
    CMatIirNth filter = Butterworth(state);
    Measure(state, [&](const double* in, double* out) { filter.Filtering(in, out, kBlock); });
}
BENCHMARK(BM_ButterworthBlock)->Arg(1)->Arg(2)->Arg(4)->Arg(8)->Arg(16);

void BM_ButterworthSamples(benchmark::State& state) {
    CMatIirNth filter = Butterworth(state);
    Measure(state, [&](const double* in, double* out) {
        for (__int64 i = 0; i < kBlock; ++i) out[i] = filter.Filtering(in[i]);
    });
}
BENCHMARK(BM_ButterworthSamples)->Arg(2)->Arg(8);

/// Zeros, long after a signal: as fast as the signal unless something is left to go on with.
void BM_ButterworthBlockInSilence(benchmark::State& state) {
    CMatIirNth filter = Butterworth(state);
    const std::vector<double> wave = TestWave(), silence(kBlock, 0.0);
    std::vector<double> out(kBlock);
    filter.Filtering(wave.data(), out.data(), kBlock);
    filter.Filtering(silence.data(), out.data(), kBlock);
    Measure(
        state, [&](const double* in, double* to) { filter.Filtering(in, to, kBlock); }, silence);
}
BENCHMARK(BM_ButterworthBlockInSilence)->Arg(1)->Arg(2)->Arg(8)->Arg(16);

void BM_SectionsOneAfterAnother(benchmark::State& state) {
    const auto order = static_cast<int>(state.range(0));
    std::vector<CMatIir2th> sections(static_cast<std::size_t>(order / 2));
    for (int k = 0; k < order / 2; ++k)
        sections[static_cast<std::size_t>(k)].CalcCoefLPF(kCorner, QualityOf(k, order));
    Measure(state, [&](const double* in, double* out) {
        for (CMatIir2th& section : sections) {
            section.Filtering(in, out, kBlock);
            in = out;
        }
    });
}
BENCHMARK(BM_SectionsOneAfterAnother)->Arg(8);

/// y = b0 x + b1 x1 + b2 x2 + a1 y1 + a2 y2.
struct Textbook {
    double b0, b1, b2, a1, a2;
    double x1 = 0.0, x2 = 0.0, y1 = 0.0, y2 = 0.0;

    explicit Textbook(double q) {
        const double p = std::tan(std::numbers::pi * kCorner), d = 1.0 + p / q + p * p;
        b0 = b2 = p * p / d;
        b1 = 2.0 * b0;
        a1 = 2.0 * (1.0 - p * p) / d;
        a2 = -(1.0 - p / q + p * p) / d;
    }
    double Step(double x) {
        const double y = b0 * x + b1 * x1 + b2 * x2 + a1 * y1 + a2 * y2;
        x2 = x1;
        x1 = x;
        y2 = y1;
        y1 = y;
        return y;
    }
};

void BM_TextbookOneAfterAnother(benchmark::State& state) {
    const auto order = static_cast<int>(state.range(0));
    std::vector<Textbook> sections;
    for (int k = 0; k < order / 2; ++k) sections.emplace_back(QualityOf(k, order));
    Measure(state, [&](const double* in, double* out) {
        for (Textbook& section : sections) {
            Textbook local = section;
            for (__int64 i = 0; i < kBlock; ++i) out[i] = local.Step(in[i]);
            section = local;
            in = out;
        }
    });
}
BENCHMARK(BM_TextbookOneAfterAnother)->Arg(8);

}  // namespace
