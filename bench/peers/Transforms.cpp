// SPDX-License-Identifier: MIT
//
// W1: a real block becomes N/2 lines, split and scaled by 2/N. W2: back. W5: averaged densities (Welch).
// A peer whose lines have another form or scale is given the pass over them that its user writes.

#include "Loops.h"
#include "Rows.h"

#include <KvxDevCommon01/dsp/AveragedSpectrum.h>
#include <KvxDevCommon01/dsp/MatFFT.h>
#include <KvxDevCommon01/dsp/Windows.h>

#ifdef KVX_PEER_FFTW
#include <dlfcn.h>
#include <fftw3.h>
#endif
#ifdef KVX_PEER_GSL
#include <gsl/gsl_fft_halfcomplex.h>
#include <gsl/gsl_fft_real.h>
#endif

#include <algorithm>
#include <cmath>
#include <complex>
#include <functional>
#include <map>
#include <memory>
#include <numbers>
#include <utility>

namespace peers {
namespace {

/// From the real to the imaginary parts of the lines: room for the line N/2, which some peers write.
size_t Distance(size_t size) {
    return size / 2 + 8;
}

/// The transforms of one size by one peer. Copies share their buffers and plans.
struct Transform {
    std::function<void(const double* x, double* lines)> forward;
    std::function<void(const double* lines, double* x)> inverse;
    std::function<void(const double* x, double* power)> addPowers;  // unscaled; empty where not compared
};
using MakeTransform = std::function<Transform(size_t size)>;

Transform MakeKvx(size_t size) {
    const auto n = static_cast<__int64>(size);
    const auto work = std::make_shared<Buffer<double>>(size);
    return {.forward =
                [=](const double* x, double* lines) {
                    CMatFFT::WaveRfft(const_cast<double*>(x), work->data(), n, lines, lines + Distance(size),
                                      n / 2);
                },
            .inverse =
                [=](const double* lines, double* x) {
                    auto* re = const_cast<double*>(lines);
                    CMatFFT::WaveIfft(x, work->data(), n, re, re + Distance(size), n / 2);
                },
            .addPowers = {}};
}

#ifdef KVX_PEER_FFTW
/// A function of one of several FFTW libraries, which have the same names in them.
template <class Function>
Function* Find(void* library, const char* name) {
    auto* function = reinterpret_cast<Function*>(dlsym(library, name));
    if (!function) throw std::runtime_error(name);
    return function;
}

/// The interface with interleaved lines.
Transform MakeFftw(void* library, const Loops& loops, unsigned flags, size_t size) {
    const auto n = static_cast<int>(size);
    const auto buffer = std::make_shared<Buffer<double>>(size + 2);
    auto* lines = reinterpret_cast<fftw_complex*>(buffer->data());
    Buffer<double> any(size);
    const auto forward =
        Find<decltype(fftw_plan_dft_r2c_1d)>(library, "fftw_plan_dft_r2c_1d")(n, any.data(), lines, flags);
    const auto inverse =
        Find<decltype(fftw_plan_dft_c2r_1d)>(library, "fftw_plan_dft_c2r_1d")(n, lines, any.data(), flags);
    const auto toLines =
        [=, run = Find<decltype(fftw_execute_dft_r2c)>(library, "fftw_execute_dft_r2c")](const double* x) {
            run(forward, const_cast<double*>(x), lines);
            return buffer->data();
        };
    return {.forward =
                [=, &loops](const double* x, double* out) {
                    loops.split(toLines(x), out, out + Distance(size), size / 2, 2.0 / n);
                },
            .inverse =
                [=, &loops, run = Find<decltype(fftw_execute_dft_c2r)>(library, "fftw_execute_dft_c2r")](
                    const double* in, double* x) {
                    loops.join(in, in + Distance(size), buffer->data(), size / 2, 0.5);
                    std::fill_n(buffer->data() + size, 2, 0.0);
                    run(inverse, lines, x);
                },
            .addPowers = [=, &loops](const double* x,
                                     double* power) { loops.addPowers(toLines(x), power, size / 2); }};
}

/// The interface with split lines, of which there are N/2 + 1. A plan is for one distance of their parts.
Transform MakeFftwSplit(void* library, const Loops& loops, size_t size) {
    const fftw_iodim extent{static_cast<int>(size), 1, 1};
    const auto buffer = std::make_shared<Buffer<double>>(2 * Distance(size));
    double *re = buffer->data(), *im = re + Distance(size);
    Buffer<double> any(size);
    const auto forward = Find<decltype(fftw_plan_guru_split_dft_r2c)>(
        library, "fftw_plan_guru_split_dft_r2c")(1, &extent, 0, nullptr, any.data(), re, im, FFTW_MEASURE);
    const auto inverse = Find<decltype(fftw_plan_guru_split_dft_c2r)>(
        library, "fftw_plan_guru_split_dft_c2r")(1, &extent, 0, nullptr, re, im, any.data(), FFTW_MEASURE);
    return {.forward =
                [=, &loops,
                 run = Find<decltype(fftw_execute_split_dft_r2c)>(library, "fftw_execute_split_dft_r2c")](
                    const double* x, double* lines) {
                    run(forward, const_cast<double*>(x), lines, lines + Distance(size));
                    loops.plain.scale(lines, 2.0 / extent.n, size / 2);
                    loops.plain.scale(lines + Distance(size), 2.0 / extent.n, size / 2);
                },
            .inverse =
                [=, &loops, keep = buffer,
                 run = Find<decltype(fftw_execute_split_dft_c2r)>(library, "fftw_execute_split_dft_c2r")](
                    const double* lines, double* x) {
                    for (double* part : {re, im}) {  // scaled copies: the transform overwrites its input
                        std::copy_n(part == re ? lines : lines + Distance(size), size / 2, part);
                        loops.plain.scale(part, 0.5, size / 2);
                        part[size / 2] = 0;
                    }
                    run(inverse, re, im, x);
                },
            .addPowers = {}};
}
#endif

#ifdef KVX_PEER_GSL
/// In place, in the order re 0, re 1, im 1, re 2 ...
Transform MakeGsl(size_t size) {
    const auto buffer = std::make_shared<Buffer<double>>(size);
    auto* work = gsl_fft_real_workspace_alloc(size);
    const auto toLines = [=, table = gsl_fft_real_wavetable_alloc(size)](const double* x) {
        std::copy_n(x, size, buffer->data());
        gsl_fft_real_transform(buffer->data(), 1, size, table, work);
        return buffer->data() + 1;
    };
    return {
        .forward =
            [=](const double* x, double* lines) {
                const double factor = 2.0 / static_cast<double>(size);
                baseline::kLoops.split(toLines(x), lines + 1, lines + Distance(size) + 1, size / 2 - 1,
                                       factor);
            },
        .inverse =
            [=, table = gsl_fft_halfcomplex_wavetable_alloc(size)](const double* lines, double* x) {
                x[0] = lines[0] * 0.5;
                baseline::kLoops.join(lines + 1, lines + Distance(size) + 1, x + 1, size / 2 - 1, 0.5);
                x[size - 1] = 0;
                gsl_fft_halfcomplex_transform(x, 1, size, table, work);
            },
        .addPowers = [=](const double* x,
                         double* power) { baseline::kLoops.addPowers(toLines(x), power + 1, size / 2 - 1); }};
}
#endif

/// Noise without lines at 0 and N/2, which the peers scale in different ways.
Buffer<double> Wave(size_t size) {
    Buffer<double> wave = NoiseBuffer(size);
    for (const size_t first : {0U, 1U}) {
        double mean = 0;
        for (size_t i = first; i < size; i += 2) mean += wave[i] / static_cast<double>(size / 2);
        for (size_t i = first; i < size; i += 2) wave[i] -= mean;
    }
    return wave;
}

/// The k-th line of a block by definition, unscaled.
std::complex<double> Line(std::span<const double> x, size_t k) {
    std::complex<double> sum;
    for (size_t i = 0; i < x.size(); ++i) {
        const double turns = static_cast<double>(k * i % x.size()) / static_cast<double>(x.size());
        sum += x[i] * std::polar(1.0, -2 * std::numbers::pi * turns);
    }
    return sum;
}

/// The lines of Wave: those of the library, compared with the definition at every kind of place.
const Buffer<double>& Lines(size_t size) {
    static std::map<size_t, Buffer<double>> made;
    Buffer<double>& lines = made[size];
    if (!lines.empty()) return lines;
    lines.resize(2 * Distance(size));
    const Buffer<double> wave = Wave(size);
    MakeKvx(size).forward(wave.data(), lines.data());
    for (const size_t k : {size_t{1}, size_t{2}, size_t{5}, size / 8 + 1, size / 4, size / 2 - 1}) {
        const std::complex<double> line(lines[k], lines[Distance(size) + k]);
        Require(std::abs(Line(wave, k) * 2.0 / static_cast<double>(size) - line) < 1e-12, "line");
    }
    return lines;
}

/// A real transform counts as 2.5 N log2 N operations, whatever is really computed.
double Flops(size_t size) {
    return 2.5 * static_cast<double>(size) * std::log2(static_cast<double>(size));
}

void AddBlocks(const std::string& peer, const MakeTransform& make) {
    for (const size_t size :
         {1U << 6, 1U << 8, 1U << 9, 1U << 10, 1U << 12, 1U << 14, 1U << 15, 1U << 16, 1U << 17}) {
        const auto add = [&](const char* workload, auto transform, auto input, auto expected) {
            const Work work{static_cast<double>(size), 16.0 * static_cast<double>(size), Flops(size)};
            AddRow(workload + std::to_string(size), peer, work, [=] {
                auto run = [f = make(size).*transform, in = Buffer<double>(input(size)),
                            out = Buffer<double>(2 * Distance(size))]() mutable {
                    f(in.data(), out.data());
                    return out.data();
                };
                const double* out = run();
                const Buffer<double> right = expected(size);
                for (size_t i = 0; i < right.size(); ++i)
                    Require(right[i] == 0 || IsNear(out[i], right[i], 1e-11), "result");
                return run;
            });
        };
        add("W1.rfft_split.", &Transform::forward, Wave, Lines);
        add("W2.irfft_split.", &Transform::inverse, Lines, Wave);
    }
}

/// Averages in half-overlapping blocks under a Hann window, channel after channel.
struct Averages {
    const char* name;
    size_t channels, samples, block;
};
constexpr Averages kAverages[] = {
    {"W5.welch_psd.4M", 1, 1U << 22, 4096},           {"W5.welch_psd.64K", 1, 1U << 16, 4096},
    {"W5.welch_psd.4x256K", 4, 1U << 18, 4096},       {"W5.welch_psd.16x256K", 16, 1U << 18, 4096},
    {"W5.welch_psd_block1024.1M", 1, 1U << 20, 1024}, {"W5.welch_psd_block256K.4M", 1, 1U << 22, 1U << 18}};

/// `average(samples, density)` works on one channel. Lines are compared with the definition.
void AddAverages(const std::string& peer, auto prepare) {
    for (const Averages& averages : kAverages) {
        const auto block = static_cast<double>(averages.block);
        const auto samples = static_cast<double>(averages.channels * averages.samples);
        const Work work{samples, 8 * samples, samples / (block / 2) * (Flops(averages.block) + 3 * block)};
        AddRow(averages.name, peer, work, [=, &averages] {
            const auto window = kvx::MakeWindow("hann", static_cast<std::int64_t>(averages.block));
            auto run = [&averages, average = prepare(window),
                        density = Buffer<double>(averages.block / 2)]() mutable {
                for (unsigned channel = 0; channel < averages.channels; ++channel)
                    average(Noise(averages.samples, static_cast<unsigned>(averages.channels) - channel),
                            std::span<double>(density));
                return density.data();
            };
            static std::map<std::string, double> made;  // the density at line N/8 + 1
            double& expected = made[averages.name];
            const auto x = Noise(averages.samples);
            double squares = 0;
            for (size_t start = 0; expected == 0 && start + averages.block <= x.size();
                 start += averages.block / 2) {
                std::vector<double> windowed(window);
                for (size_t i = 0; i < averages.block; ++i) windowed[i] *= x[start + i];
                squares += std::norm(Line(windowed, averages.block / 8 + 1));
            }
            const double blocks = static_cast<double>(2 * averages.samples / averages.block - 1);
            if (expected == 0) expected = squares * 2 / (blocks * 0.375 * block);
            Require(IsNear(run()[averages.block / 8 + 1] / expected, 1, 1e-9), "density");
            return run;
        });
    }
}

[[maybe_unused]] void AddPeer(const std::string& peer, const Loops& loops, const MakeTransform& make) {
    const auto kept = [make, made = std::make_shared<std::map<size_t, Transform>>()](size_t size) {
        if (!made->contains(size)) made->emplace(size, make(size));
        return made->at(size);
    };
    AddBlocks(peer, kept);
    if (peer.ends_with("split")) return;
    AddAverages(peer, [=, &loops](const std::vector<double>& window) {
        return [=, &loops, add = kept(window.size()).addPowers, windowed = Buffer<double>(window.size())](
                   std::span<const double> x, std::span<double> density) mutable {
            const size_t block = window.size();
            std::ranges::fill(density, 0.0);
            for (size_t start = 0; start + block <= x.size(); start += block / 2) {
                loops.plain.multiply(x.data() + start, window.data(), windowed.data(), block);
                add(windowed.data(), density.data());
            }
            const double blocks = static_cast<double>(2 * x.size() / block - 1);
            loops.plain.scale(density.data(), 2 / (blocks * 0.375 * static_cast<double>(block)), block / 2);
        };
    });
}

#ifdef KVX_PEER_FFTW
void AddFftw(const std::string& name, const char* path, const Loops& loops) {
    void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (!library) throw std::runtime_error(dlerror());
    for (const unsigned flags : {FFTW_ESTIMATE, FFTW_MEASURE})
        AddPeer(name + (flags == FFTW_MEASURE ? "-measure" : "-estimate"), loops,
                [=, &loops](size_t size) { return MakeFftw(library, loops, flags, size); });
    AddPeer(name + "-guru-split", loops,
            [=, &loops](size_t size) { return MakeFftwSplit(library, loops, size); });
}
#endif

}  // namespace

void AddTransforms() {
    AddBlocks("kvx", MakeKvx);
    AddAverages("kvx", [](const std::vector<double>& window) {
        return [window](std::span<const double> x, std::span<double> density) {
            kvx::AveragedSpectrum average(window, static_cast<std::int64_t>(window.size() / 2));
            average.Add(x);
            std::ranges::copy(average.Psd(1.0), density.begin());
        };
    });
#ifdef KVX_PEER_FFTW
    AddFftw("fftw", KVX_PEER_FFTW, baseline::kLoops);
#endif
#ifdef KVX_PEER_FFTW512
    AddFftw("fftw512", KVX_PEER_FFTW512, native::kLoops);
#endif
#ifdef KVX_PEER_GSL
    AddPeer("gsl", baseline::kLoops, MakeGsl);
#endif
}

}  // namespace peers
