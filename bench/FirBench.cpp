// SPDX-License-Identifier: MIT
//
// Streaming FIR filters and rate conversion. Items are input samples; the counter x_loop says how many times
// faster than plain loops over ring buffers, measured in the same run, the block forms are.

#include <KvxDevCommon01/dsp/MatFir.h>
#include <KvxDevCommon01/dsp/MatMrf.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

namespace {

using Wave = std::vector<double>;

Wave Chirp(std::size_t count) {
    Wave wave(count);
    for (std::size_t n = 0; n < count; ++n) {
        const auto t = static_cast<double>(n);
        wave[n] = std::sin(0.3 * t + 1e-6 * t * t);
    }
    return wave;
}

/// A stage as one writes it down: a ring of the last samples and one sum per result.
class PlainStage {
public:
    PlainStage(CMatFir::FIR_COEF set, CMatFir::RATE_CONV mode, std::size_t ratio)
        : mode_(mode), ratio_(ratio) {
        CMatFir fir;
        fir.SetStdCoef(set, 0);
        CDataArrayDouble coef;
        fir.GetCoef(&coef);
        coef_.assign(coef.GetData(), coef.GetData() + coef.GetNum());
        const std::size_t samples =
            mode == CMatFir::RATE_INTERPOLATE ? (coef_.size() - 1) / ratio + 1 : coef_.size();
        ring_.assign(samples, 0.0);
    }

    template <class Use>
    void Feed(double x, Use use) {
        ring_[position_] = x;
        position_ = position_ + 1 < ring_.size() ? position_ + 1 : 0;
        if (mode_ == CMatFir::RATE_INTERPOLATE) {
            for (std::size_t phase = 0; phase < ratio_; ++phase) {
                double sum = 0.0;
                std::size_t newest = position_;
                for (std::size_t tap = phase; tap < coef_.size(); tap += ratio_) {
                    newest = newest > 0 ? newest - 1 : ring_.size() - 1;
                    sum += coef_[tap] * ring_[newest];
                }
                use(static_cast<double>(ratio_) * sum);
            }
        } else if (++count_ == ratio_) {
            count_ = 0;
            double sum = 0.0;
            std::size_t oldest = position_;
            for (const double c : coef_) {
                sum += c * ring_[oldest];
                oldest = oldest + 1 < ring_.size() ? oldest + 1 : 0;
            }
            use(sum);
        }
    }

private:
    Wave coef_, ring_;
    CMatFir::RATE_CONV mode_;
    std::size_t ratio_;
    std::size_t position_ = 0, count_ = 0;
};

class PlainCascade {
public:
    PlainCascade(CMatFir::RATE_CONV mode,
                 const std::vector<std::pair<CMatFir::FIR_COEF, std::size_t>>& stages) {
        for (const auto& [set, ratio] : stages) stages_.emplace_back(set, mode, ratio);
    }
    void Feed(double x, std::size_t stage = 0) {
        if (stage == stages_.size()) {
            sum_ += x;
        } else {
            stages_[stage].Feed(x, [&](double y) { Feed(y, stage + 1); });
        }
    }
    double Sum() const { return sum_; }

private:
    std::vector<PlainStage> stages_;
    double sum_ = 0.0;
};

/// The shortest of some runs [s].
template <class Work>
double Seconds(Work work) {
    double shortest = std::numeric_limits<double>::infinity();
    for (int run = 0; run < 5; ++run) {
        const auto start = std::chrono::steady_clock::now();
        work();
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        shortest = std::min(shortest, elapsed.count());
    }
    return shortest;
}

/// Runs `work` on blocks of `x` and compares it with the plain loops.
template <class Work>
void Compare(benchmark::State& state, const Wave& x, PlainCascade plain, Work work) {
    const double plainSeconds = Seconds([&] {
        for (const double sample : x) plain.Feed(sample);
        benchmark::DoNotOptimize(plain.Sum());
    });
    for (auto _ : state) work();
    const double seconds = Seconds(work);
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(x.size()));
    state.counters["x_loop"] = plainSeconds / seconds;
}

constexpr auto kNone = CMatFir::RATE_NONE;
constexpr auto kUp = CMatFir::RATE_INTERPOLATE;
constexpr auto kDown = CMatFir::RATE_DECIMATE;
constexpr auto kL2 = CMatFir::FIR_COEF_2;
constexpr auto kS4 = CMatFir::FIR_COEF_4_SHORT;
constexpr auto kL4 = CMatFir::FIR_COEF_4;
constexpr auto kS5 = CMatFir::FIR_COEF_5_SHORT;

void BM_Fir(benchmark::State& state, CMatFir::FIR_COEF set) {
    const Wave x = Chirp(65536);
    Wave y(x.size());
    const auto count = static_cast<__int64>(x.size());
    CMatFir fir;
    fir.SetStdCoef(set, 0);
    fir.SetOutBufSize(count);
    Compare(state, x, PlainCascade(kNone, {{set, 1}}), [&] {
        fir.SetInputData(x.data(), count);
        fir.GetOutputData(y.data(), count);
        benchmark::DoNotOptimize(y.data());
    });
}
BENCHMARK_CAPTURE(BM_Fir, 37_taps, CMatFir::FIR_COEF_2);
BENCHMARK_CAPTURE(BM_Fir, 93_taps, CMatFir::FIR_COEF_5);

void BM_FirSampleBySample(benchmark::State& state) {
    const Wave x = Chirp(65536);
    CMatFir fir;
    fir.SetStdCoef(CMatFir::FIR_COEF_2, 0);
    Compare(state, x, PlainCascade(kNone, {{CMatFir::FIR_COEF_2, 1}}), [&] {
        double sum = 0.0;
        for (const double sample : x) {
            fir.SetInputData(sample);
            sum += fir.GetOutputData();
        }
        benchmark::DoNotOptimize(sum);
    });
}
BENCHMARK(BM_FirSampleBySample);

void BM_Cascade(benchmark::State& state, CMatFir::RATE_CONV mode, CMatMrf::OVS_RAT code, std::size_t samples,
                const std::vector<std::pair<CMatFir::FIR_COEF, std::size_t>>& stages) {
    const Wave x = Chirp(samples);
    const auto count = static_cast<__int64>(samples);
    const __int64 room = mode == kUp ? count * CMatMrf::ConvCodeToOvsRat(code) : count;
    Wave y(static_cast<std::size_t>(room));
    CMatMrf cascade;
    cascade.SetConvCond(mode, code, room, 0);
    Compare(state, x, PlainCascade(mode, stages), [&] {
        cascade.SetInputData(x.data(), 0, count, count);
        cascade.GetOutputData(y.data(), 0, room, room);
        benchmark::DoNotOptimize(y.data());
    });
}
using Stages = std::vector<std::pair<CMatFir::FIR_COEF, std::size_t>>;
BENCHMARK_CAPTURE(BM_Cascade, down_8, kDown, CMatMrf::OVS_RAT_8, 65536, Stages{{kS4, 4}, {kL2, 2}});
BENCHMARK_CAPTURE(BM_Cascade, down_100, kDown, CMatMrf::OVS_RAT_100, 65536,
                  Stages{{kS5, 5}, {kS5, 5}, {kL4, 4}});
BENCHMARK_CAPTURE(BM_Cascade, down_500, kDown, CMatMrf::OVS_RAT_500, 65536,
                  Stages{{kS5, 5}, {kS5, 5}, {kS5, 5}, {kL4, 4}});
BENCHMARK_CAPTURE(BM_Cascade, up_8, kUp, CMatMrf::OVS_RAT_8, 8192, Stages{{kL2, 2}, {kS4, 4}});

}  // namespace
