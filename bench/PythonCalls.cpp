// SPDX-License-Identifier: MIT
//
// The calls that bench/python_calls.py makes, from C++: each prints its name, the number of samples and the
// best time of a call in nanoseconds, as one line. What a call allocates, it allocates here too.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include <KvxDevCommon01/data/Statistics.h>
#include <KvxDevCommon01/dsp/AveragedSpectrum.h>
#include <KvxDevCommon01/dsp/AveragedTransfer.h>
#include <KvxDevCommon01/dsp/SampleFilters.h>
#include <KvxDevCommon01/dsp/Windows.h>
#include <KvxDevCommon01/units/UnitQuery.h>

namespace {

volatile double sink = 0.0;

/// The best of many runs, in nanoseconds of one call.
double Best(const std::function<void()>& call) {
    using Clock = std::chrono::steady_clock;
    double best = std::numeric_limits<double>::infinity();
    const auto end = Clock::now() + std::chrono::milliseconds(400);
    do {
        const auto start = Clock::now();
        call();
        best = std::min(best, std::chrono::duration<double, std::nano>(Clock::now() - start).count());
    } while (Clock::now() < end);
    return best;
}

std::vector<double> Run(kvx::SampleProcess& process, const std::vector<double>& x) {
    std::vector<double> results;
    results.reserve(x.size());
    process.Feed(x, results);
    process.Finish(results);
    return results;
}

}  // namespace

int main() {
    for (const std::size_t n : {std::size_t{4096}, std::size_t{65536}, std::size_t{1048576}}) {
        std::vector<double> x(n);
        std::vector<double> y(n);
        unsigned state = 1;
        for (std::size_t i = 0; i < n; ++i) {
            state = state * 1664525u + 1013904223u;
            x[i] = static_cast<double>(state) / 4294967296.0 - 0.5;
            y[i] = x[i] * 0.5;
        }
        const std::vector<double> taps(101, 1.0 / 101);
        const CUnitCtrl g = kvx::NamedUnit("g");
        const auto print = [&](const char* name, const std::function<void()>& call) {
            std::printf("%s %zu %.0f\n", name, n, Best(call));
        };
        print("psd", [&] {
            const std::vector<double> window = kvx::MakeWindow("hann", 1024);
            kvx::AveragedSpectrum average(window, 512);
            average.Add(x);
            sink = average.Psd(1.0)[3];
        });
        print("coherence", [&] {
            const std::vector<double> window = kvx::MakeWindow("hann", 1024);
            kvx::AveragedTransfer average(window, 512);
            average.Add(x, y);
            sink = average.Coherence()[3];
        });
        print("fir_filter", [&] { sink = Run(*kvx::MakeFir({taps, 0}, kvx::Ends::zero), x)[3]; });
        print("butter_filter", [&] {
            sink =
                Run(*kvx::MakeButterworth({kvx::ButterworthFilter::Pass::low, 8, 0.1}, 0.5, kvx::Ends::zero),
                    x)[3];
        });
        print("statistics", [&] {
            kvx::SampleStatistics statistics;
            statistics.Add(x);
            sink = statistics.Figures().rms;
        });
        print("to_standard", [&] {
            std::vector<double> converted(x.size());
            g.ConvItoD(converted.data(), x.data(), std::ssize(x), 1.0, 1);
            sink = converted[3];
        });
    }
}
