// SPDX-License-Identifier: MIT
//
// What works on a stream, its state kept from block to block. W6: FIR filters. W7: sampling rates changed by
// whole ratios. W8: a Butterworth low-pass of the eighth order.
//
// The library's changes of the rate stop 80 dB and pass up to 0.78 of half the lower rate. The loops are
// cascades of two kinds, shorter than that and about as long; soxr's LQ and MQ stop 16 bits (96 dB) and pass
// up to 0.68 and 0.91, its VHQ stops 28 bits.

#include "Loops.h"
#include "Rows.h"

#include <KvxDevCommon01/dsp/MatFir.h>
#include <KvxDevCommon01/dsp/MatIir.h>
#include <KvxDevCommon01/dsp/MatMrf.h>

#ifdef KVX_PEER_LIQUID
#include <liquid/liquid.h>
#include <complex>
#endif
#ifdef KVX_PEER_SAMPLERATE
#include <samplerate.h>
#endif
#ifdef KVX_PEER_SOXR
#include <soxr.h>
#endif

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <type_traits>
#include <utility>

namespace peers {
namespace {

/// A filter by its order (of a FIR filter, its taps), or a change of the rate by up / down.
struct Task {
    const char* name;
    size_t samples, block, order, up = 1, down = 1;

    size_t Results() const { return samples * up / down; }
    double Ratio() const { return static_cast<double>(up) / static_cast<double>(down); }
};
constexpr Task kFirs[] = {{"W6.fir37.1M", 1U << 20, 1024, 37},
                          {"W6.fir93.1M", 1U << 20, 1024, 93},
                          {"W6.fir37_block64.1M", 1U << 20, 64, 37},
                          {"W6.fir93_block64.1M", 1U << 20, 64, 93}};
constexpr Task kRates[] = {{"W7.decim8.1M", 1U << 20, 4096, 0, 1, 8},
                           {"W7.decim100.1M", 1000000, 4000, 0, 1, 100},
                           {"W7.interp8.1Mout", 1U << 17, 1024, 0, 8, 1},
                           {"W7.decim5.1M", 1000000, 4000, 0, 1, 5},
                           {"W7.interp2.1Mout", 1U << 19, 1024, 0, 2, 1}};
constexpr Task kButterworths[] = {{"W8.butter8.1M", 1U << 20, 1024, 8},
                                  {"W8.butter8_block64.1M", 1U << 20, 64, 8}};
constexpr double kFirCutoff = 0.2, kButterworthCutoff = 0.1;  // cycles per sample

/// A sinc under a Kaiser window for 80 dB, whose taps add up to `gain`.
Buffer<double> LowPass(size_t count, double cutoff, double gain = 1) {
    constexpr double kBeta = 7.857;
    Buffer<double> taps;
    double sum = 0;
    for (size_t i = 0; i < count; ++i) {
        const double middle = static_cast<double>(count - 1) / 2, x = static_cast<double>(i) - middle;
        const double window =
            std::cyl_bessel_i(0, kBeta * std::sqrt(std::max(0.0, 1 - x * x / middle / middle)));
        const double angle = 2 * std::numbers::pi * cutoff * x;
        taps.push_back(window * (x == 0 ? 1 : std::sin(angle) / angle));
        sum += taps.back();
    }
    for (double& tap : taps) tap *= gain / sum;
    return taps;
}

/// Sections b0 b1 b2 a1 a2.
Buffer<double> Butterworth(size_t order) {
    const double w = std::tan(std::numbers::pi * kButterworthCutoff);
    Buffer<double> sections;
    for (size_t i = 0; i < order / 2; ++i) {
        const double turn = static_cast<double>(2 * i + 1) / static_cast<double>(2 * order);
        const double damping = 2 * std::cos(std::numbers::pi * turn);
        const double scale = 1 / (1 + damping * w + w * w), b = w * w * scale;
        for (const double c : {b, 2 * b, b, 2 * (w * w - 1) * scale, (1 - damping * w + w * w) * scale})
            sections.push_back(c);
    }
    return sections;
}

/// The sum over the taps at sample i.
double FirResult(const Task& task, std::span<const double> x, size_t i) {
    double sum = 0;
    const Buffer<double> taps = LowPass(task.order, kFirCutoff);
    for (size_t k = 0; k < taps.size() && k <= i; ++k) sum += taps[k] * x[i - k];
    return sum;
}

/// Filters by the difference equation as it is written.
double ButterworthResult(const Task& task, std::span<const double> x, size_t i) {
    std::vector<double> y(x.begin(), x.begin() + static_cast<std::ptrdiff_t>(i + 1));
    const Buffer<double> sections = Butterworth(task.order);
    for (size_t s = 0; s < sections.size(); s += 5) {
        double x1 = 0, x2 = 0, y1 = 0, y2 = 0;
        for (double& value : y) {
            const double* c = &sections[s];
            const double result = c[0] * value + c[1] * x1 + c[2] * x2 - c[3] * y1 - c[4] * y2;
            x2 = std::exchange(x1, value);
            y2 = std::exchange(y1, result);
            value = result;
        }
    }
    return y.back();
}

/// `make()` gives what takes (x, n, y), writes results to y and returns how many. A filter is compared with
/// its definition at some samples of noise; a change of the rate keeps the amplitude of a slow sine.
template <class Real = double>
void AddStream(const Task& task, const std::string& peer, double flops, auto make,
               double (*expected)(const Task&, std::span<const double>, size_t) = nullptr) {
    const auto samples = static_cast<double>(task.samples), results = static_cast<double>(task.Results());
    const double most = std::max(samples, results);
    AddRow(task.name, peer, {most, sizeof(Real) * (samples + results), flops * most}, [=, &task] {
        constexpr size_t kSpare = 65536;  // some peers deliver more than what is due
        Buffer<Real> input = NoiseBuffer<Real>(task.samples);
        for (size_t i = 0; !expected && i < task.samples; ++i) {
            const double turns = 0.004 * std::min(1.0, task.Ratio()) * static_cast<double>(i);
            input[i] = static_cast<Real>(std::sin(2 * std::numbers::pi * turns));
        }
        auto run = [&task, stream = make(), x = std::move(input),
                    y = Buffer<Real>(task.Results() + kSpare)]() mutable {
            size_t count = 0;
            for (size_t i = 0; i < task.samples; i += task.block)
                count += stream(x.data() + i, std::min(task.block, task.samples - i), y.data() + count);
            return std::pair(count, y.data());
        };
        const auto [count, y] = run();
        Require(IsNear(static_cast<double>(count), results, 100 + results / 10), "number of results");
        const double tolerance = std::is_same_v<Real, float> ? 1e-3 : 1e-12;
        if (!expected)
            Require(IsNear(static_cast<double>(*std::max_element(y, y + count)), 1, 0.01), "amplitude");
        for (const size_t i : {0U, 3U, 200U, 1023U, 1024U, 1025U, 3333U})
            if (expected)
                Require(IsNear(static_cast<double>(y[i]), expected(task, Noise(task.samples), i), tolerance),
                        "result");
        return run;
    });
}

/// A filter that keeps its old samples before the new ones; with rate `up` the taps of even results come
/// first.
class Stage {
public:
    Stage(FirLoop loop, Buffer<double> taps, size_t up, size_t down, size_t block)
        : loop_(loop),
          taps_(std::move(taps)),
          count_(taps_.size() / up),
          up_(up),
          down_(down),
          line_(count_ - 1 + block) {}
    size_t operator()(const double* x, size_t n, double* y) {
        std::copy_n(x, n, line_.data() + count_ - 1);
        loop_(taps_.data(), count_, down_, line_.data(), y, n / down_);
        std::copy_n(line_.data() + n, count_ - 1, line_.data());
        return n * up_ / down_;
    }

private:
    FirLoop loop_;
    Buffer<double> taps_;
    size_t count_, up_, down_;
    Buffer<double> line_;
};

/// One stage for each prime factor of the ratio, the largest first.
auto Cascade(const Task& task, const Loops& loops, bool isLong) {
    std::vector<Stage> stages;
    size_t block = task.block;
    for (size_t left = task.up * task.down; left > 1; left /= left % 5 == 0 ? 5 : 2) {
        const size_t ratio = left % 5 == 0 ? 5 : 2,
                     count = ratio == 5 ? (isLong ? 75 : 33) : (isLong ? 37 : 27);
        const double gain = task.up > 1 ? static_cast<double>(ratio) : 1;
        Buffer<double> taps = LowPass(count, 0.45 / static_cast<double>(ratio), gain);
        if (task.up > 1) {
            Buffer<double> arms(count + 1);
            for (size_t k = 0; k < count; ++k)
                arms[k % 2 * arms.size() / 2 + arms.size() / 2 - 1 - k / 2] = taps[k];
            taps = std::move(arms);
        }
        stages.emplace_back(task.up > 1 ? loops.interpolate2 : loops.firByResults, std::move(taps),
                            task.up > 1 ? ratio : 1, task.up > 1 ? 1 : ratio, block);
        block = task.up > 1 ? block * ratio : block / ratio;
    }
    return [stages, between = Buffer<double>(2 * (task.block + block))](const double* x, size_t n,
                                                                        double* y) mutable {
        double* out = between.data();
        for (size_t i = 0; i < stages.size(); ++i) {
            if (i + 1 == stages.size()) out = y;
            n = stages[i](x, n, out);
            x = std::exchange(out,
                              out == between.data() ? between.data() + between.size() / 2 : between.data());
        }
        return n;
    };
}

auto KvxFir(const Task& task) {
    CMatFir fir;
    fir.SetCoef(LowPass(task.order, kFirCutoff).data(), static_cast<__int64>(task.order), -1);
    fir.SetOutBufSize(static_cast<__int64>(task.block));
    return [fir](const double* x, size_t n, double* y) mutable {
        fir.SetInputData(x, static_cast<__int64>(n));
        return static_cast<size_t>(fir.GetOutputData(y, static_cast<__int64>(n)));
    };
}

auto KvxRate(const Task& task) {
    CMatMrf cascade;
    const auto ratio = static_cast<std::int32_t>(task.up * task.down);
    cascade.SetConvCond(task.up > 1 ? CMatFir::RATE_INTERPOLATE : CMatFir::RATE_DECIMATE,
                        CMatMrf::ConvOvsRatToCode(ratio), static_cast<__int64>(task.block) * ratio, 0);
    return [cascade](const double* x, size_t n, double* y) mutable {
        const auto count = static_cast<__int64>(n);
        cascade.SetInputData(x, 0, count, count);
        const __int64 results = cascade.GetNumOutputData();
        return static_cast<size_t>(cascade.GetOutputData(y, 0, results, results));
    };
}

auto KvxButterworth(const Task& task) {
    CMatIirNth filter;
    filter.CalcCoefBwLPF(kButterworthCutoff, static_cast<std::int32_t>(task.order));
    return [filter](const double* x, size_t n, double* y) mutable {
        filter.Filtering(x, y, static_cast<__int64>(n));
        return n;
    };
}

auto LoopButterworth(const Task& task, const Loops& loops) {
    return [&loops, sections = Butterworth(task.order), states = Buffer<double>(task.order)](
               const double* x, size_t n, double* y) mutable {
        loops.biquads4(sections.data(), states.data(), x, y, n);
        return n;
    };
}

#ifdef KVX_PEER_SOXR
auto Soxr(const Task& task, unsigned long recipe) {
    const soxr_io_spec_t io = soxr_io_spec(SOXR_FLOAT64_I, SOXR_FLOAT64_I);
    const soxr_quality_spec_t quality = soxr_quality_spec(recipe, SOXR_DOUBLE_PRECISION);
    const soxr_runtime_spec_t oneThread = soxr_runtime_spec(1);
    soxr_error_t error = nullptr;
    const std::shared_ptr<soxr> soxr(soxr_create(1, task.Ratio(), 1, &error, &io, &quality, &oneThread),
                                     soxr_delete);
    if (error) throw std::runtime_error(error);
    return [=](const double* x, size_t n, double* y) {
        size_t taken = 0, count = 0, all = 0;
        for (; n > 0; x += taken, n -= taken, all += count)
            soxr_process(soxr.get(), x, n, &taken, y + all, 65536, &count);
        return all;
    };
}
#endif

#ifdef KVX_PEER_SAMPLERATE
auto Samplerate(const Task& task) {
    int error = 0;
    const std::shared_ptr<SRC_STATE> state(src_new(SRC_SINC_FASTEST, 1, &error), src_delete);
    return [state, ratio = task.Ratio()](const float* x, size_t n, float* y) {
        size_t count = 0;
        for (auto left = static_cast<long>(n); left > 0;) {
            SRC_DATA data{x, y + count, left, 65536, 0, 0, 0, ratio};
            src_process(state.get(), &data);
            x += data.input_frames_used;
            left -= data.input_frames_used;
            count += static_cast<size_t>(data.output_frames_gen);
        }
        return count;
    };
}
#endif

#ifdef KVX_PEER_LIQUID
auto LiquidFir(const Task& task) {
    const Buffer<double> taps = LowPass(task.order, kFirCutoff);
    Buffer<float> floats(taps.begin(), taps.end());
    const std::shared_ptr<std::remove_pointer_t<firfilt_rrrf>> filter(
        firfilt_rrrf_create(floats.data(), static_cast<unsigned>(task.order)), firfilt_rrrf_destroy);
    return [=](float* x, size_t n, float* y) {
        firfilt_rrrf_execute_block(filter.get(), x, static_cast<unsigned>(n), y);
        return n;
    };
}

auto LiquidRate(const Task& task) {
    const std::shared_ptr<std::remove_pointer_t<msresamp_rrrf>> resampler(
        msresamp_rrrf_create(static_cast<float>(task.Ratio()), 80), msresamp_rrrf_destroy);
    return [=](float* x, size_t n, float* y) {
        unsigned count = 0;
        msresamp_rrrf_execute(resampler.get(), x, static_cast<unsigned>(n), y, &count);
        return size_t{count};
    };
}
#endif

}  // namespace

void AddStreams() {
    const std::pair<const char*, const Loops*> builds[] = {{"", &baseline::kLoops},
                                                           {"-native", &native::kLoops}};
    for (const Task& task : kFirs) {
        const double flops = 2 * static_cast<double>(task.order);
        AddStream(
            task, "kvx", flops, [&] { return KvxFir(task); }, FirResult);
        for (const auto& [suffix, loops] : builds)
            for (const auto& [name, loop] :
                 {std::pair("loop-results", loops->firByResults), std::pair("loop-taps", loops->firByTaps),
                  std::pair("eigen", loops->firByEigen)})
                if (loop)
                    AddStream(
                        task, std::string(name) + suffix, flops,
                        [&task, f = loop] {
                            return Stage(f, LowPass(task.order, kFirCutoff), 1, 1, task.block);
                        },
                        FirResult);
#ifdef KVX_PEER_LIQUID
        AddStream<float>(
            task, "liquid-f32", flops, [&] { return LiquidFir(task); }, FirResult);
#endif
    }
    for (const Task& task : kRates) {
        AddStream(task, "kvx", 0, [&] { return KvxRate(task); });
        for (const auto& [suffix, loops] : builds)
            for (const bool isLong : {false, true})
                AddStream(task, (isLong ? "loop-long" : "loop-short") + std::string(suffix), 0,
                          [&task, l = loops, isLong] { return Cascade(task, *l, isLong); });
#ifdef KVX_PEER_SOXR
        for (const auto& [name, recipe] :
             {std::pair("soxr-LQ", SOXR_LQ), std::pair("soxr-MQ", SOXR_MQ), std::pair("soxr-VHQ", SOXR_VHQ)})
            AddStream(task, name, 0,
                      [&task, r = recipe] { return Soxr(task, static_cast<unsigned long>(r)); });
#endif
#ifdef KVX_PEER_SAMPLERATE
        AddStream<float>(task, "libsamplerate-f32", 0, [&] { return Samplerate(task); });
#endif
#ifdef KVX_PEER_LIQUID
        AddStream<float>(task, "liquid-f32", 0, [&] { return LiquidRate(task); });
#endif
    }
    for (const Task& task : kButterworths) {
        AddStream(
            task, "kvx", 36, [&] { return KvxButterworth(task); }, ButterworthResult);
        for (const auto& [suffix, loops] : builds)
            AddStream(
                task, std::string("loop") + suffix, 36,
                [&task, l = loops] { return LoopButterworth(task, *l); }, ButterworthResult);
    }
}

}  // namespace peers
