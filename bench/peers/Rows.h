// SPDX-License-Identifier: MIT
//
// What the rows of the comparison share. A row is named "<workload>/<peer>", our own peer name is "kvx". All
// peers of a workload get the same input, and a result is checked before it is timed: a wrong one skips the
// row with an error. "-f32" computes in single precision, "-native" is compiled for this machine instead of
// the x86-64 baseline.
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <new>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace peers {

using std::size_t;

/// What one run does: samples, bytes of the arrays that are read and written, each once, and floating-point
/// operations (0 where they mean nothing).
struct Work {
    double samples = 0;
    double bytes = 0;
    double flops = 0;
};

/// `prepare()` makes plans and buffers, checks the result and returns the operation to be timed.
template <class Prepare>
void AddRow(const std::string& workload, const std::string& peer, const Work& work, Prepare prepare) {
    const auto row = [work, prepare](benchmark::State& state) {
        try {
            auto run = prepare();
            run();
            for (auto _ : state) {
                run();
                benchmark::ClobberMemory();
            }
        } catch (const std::exception& error) {
            state.SkipWithError(error.what());
        }
        state.counters["samples"] = work.samples;
        state.counters["bytes"] = work.bytes;
        state.counters["flops"] = work.flops;
    };
    benchmark::RegisterBenchmark((workload + "/" + peer).c_str(), row)->UseRealTime();
}

inline void Require(bool isRight, const char* what) {
    if (!isRight) throw std::runtime_error(std::string("wrong ") + what);
}

/// Not-a-number is near nothing.
inline bool IsNear(double value, double expected, double tolerance) {
    return value >= expected - tolerance && value <= expected + tolerance;
}

/// Elements from the start of a cache line on.
template <class T>
struct LineAllocator {
    using value_type = T;
    static constexpr std::align_val_t kLine{64};

    LineAllocator() = default;
    template <class U>
    LineAllocator(const LineAllocator<U>&) {}
    T* allocate(size_t count) { return static_cast<T*>(::operator new(count * sizeof(T), kLine)); }
    void deallocate(T* data, size_t) { ::operator delete(data, kLine); }
    bool operator==(const LineAllocator&) const = default;
};
template <class T>
using Buffer = std::vector<T, LineAllocator<T>>;

/// Uniform noise in [-1, 1), the same for every peer; the span stays good.
std::span<const double> Noise(size_t count, unsigned seed = 1);

template <class T = double>
Buffer<T> NoiseBuffer(size_t count, unsigned seed = 1) {
    const auto noise = Noise(count, seed);
    return Buffer<T>(noise.begin(), noise.end());
}

/// "64", "1K", "4M".
std::string SizeName(size_t count);

void AddLimits();
void AddTransforms();
void AddArrays();
void AddStreams();
void AddStorage();

}  // namespace peers
