// SPDX-License-Identifier: MIT
//
// The calls that bench/python_calls.py makes, from C++. Each line "name samples" of the input is answered by
// the best time of that call in nanoseconds. A call checks, allocates and returns here what it does there.
#include <algorithm>
#include <chrono>
#include <functional>
#include <iostream>
#include <iterator>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include <KvxDevCommon01/data/Statistics.h>
#include <KvxDevCommon01/dsp/AveragedSpectrum.h>
#include <KvxDevCommon01/dsp/AveragedTransfer.h>
#include <KvxDevCommon01/dsp/SampleFilters.h>
#include <KvxDevCommon01/dsp/Windows.h>
#include <KvxDevCommon01/files/Channels.h>
#include <KvxDevCommon01/units/UnitQuery.h>

namespace {

volatile double sink = 0.0;

/// The best of many runs of some calls each, in nanoseconds of one call.
double Best(const std::function<void()>& call) {
    using Clock = std::chrono::steady_clock;
    const auto timeOf = [&](int calls) {
        const auto start = Clock::now();
        for (int i = 0; i < calls; ++i) call();
        return std::chrono::duration<double, std::nano>(Clock::now() - start).count() / calls;
    };
    const int calls = 1 + static_cast<int>(1e5 / timeOf(3));
    double best = std::numeric_limits<double>::infinity();
    const auto end = Clock::now() + std::chrono::milliseconds(100);
    while (Clock::now() < end) best = std::min(best, timeOf(calls));
    return best;
}

std::vector<double> Frequencies(std::size_t lines, double step) {
    std::vector<double> frequencies(lines);
    for (std::size_t k = 0; k < lines; ++k) frequencies[k] = static_cast<double>(k) * step;
    return frequencies;
}

std::vector<double> Run(kvx::SampleProcess& process, const std::vector<double>& x) {
    kvx::RequireValues(x, L"x");
    std::vector<double> results;
    results.reserve(x.size());
    process.Feed(x, results);
    process.Finish(results);
    return results;
}

/// What the calls take.
struct Signals {
    explicit Signals(std::size_t samples) : x(samples), y(samples) {
        unsigned state = 1;
        for (std::size_t i = 0; i < samples; ++i) {
            state = state * 1664525u + 1013904223u;
            x[i] = static_cast<double>(state) / 4294967296.0 - 0.5;
            y[i] = x[i] * 0.5;
        }
    }
    std::vector<double> x;
    std::vector<double> y;
    std::vector<double> taps = std::vector<double>(101, 1.0 / 101);
    std::vector<double> window = kvx::MakeWindow("hann", 1024);
    CUnitCtrl g = kvx::NamedUnit("g");
};

void Psd(const Signals& s, const std::vector<double>& window) {
    const std::vector<double> frequencies = Frequencies(512, 1.0 / 1024);
    kvx::AveragedSpectrum average(window, 512);
    average.Add(s.x);
    sink = average.Psd(1.0)[3] + frequencies[3];
}

void Coherence(const Signals& s, const std::vector<double>& window) {
    const std::vector<double> frequencies = Frequencies(512, 1.0 / 1024);
    kvx::RequireValues(s.x, L"x");
    kvx::RequireValues(s.y, L"y");
    kvx::AveragedTransfer average(window, 512);
    average.Add(s.x, s.y);
    sink = average.Coherence()[3] + frequencies[3];
}

const std::map<std::string, std::function<void(const Signals&)>> kCalls = {
    {"psd", [](const Signals& s) { Psd(s, kvx::MakeWindow("hann", 1024)); }},
    {"psd_window", [](const Signals& s) { Psd(s, s.window); }},
    {"coherence", [](const Signals& s) { Coherence(s, kvx::MakeWindow("hann", 1024)); }},
    {"coherence_window", [](const Signals& s) { Coherence(s, s.window); }},
    {"fir_filter",
     [](const Signals& s) {
         sink = Run(*kvx::MakeFir({s.taps, 0}, kvx::Ends::zero), s.x)[3];
     }},
    {"butter_filter",
     [](const Signals& s) {
         const kvx::IirFilter filter{kvx::IirFilter::Pass::low, 8, 0.1};
         sink = Run(*kvx::MakeIir(filter, 0.5, kvx::Ends::zero), s.x)[3];
     }},
    {"statistics",
     [](const Signals& s) {
         kvx::SampleStatistics statistics;
         statistics.Add(s.x);
         sink = statistics.Figures().rms;
     }},
    {"to_standard",
     [](const Signals& s) {
         std::vector<double> converted(s.x.size());
         s.g.ConvItoD(converted.data(), s.x.data(), std::ssize(s.x), 1.0, 1);
         sink = converted[3];
     }},
};

}  // namespace

int main() {
    std::string name;
    for (std::size_t samples = 0; std::cin >> name >> samples;) {
        const Signals signals(samples);
        const auto& call = kCalls.at(name);
        std::cout << Best([&] { call(signals); }) << std::endl;
    }
}
