// SPDX-License-Identifier: MIT
//
// How a spectrum changes: a sine sweep from 20 Hz to 400 Hz is cut into slices, in each of which the highest
// line follows the sweep, and drawn as a colour map, sweep.png.
//
// It prints:
//
//     59 slices, 0.125 s apart
//     at 2 s near 45 Hz: yes
//     at 4 s near 99 Hz: yes
//     at 6 s near 220 Hz: yes
//     sweep.png
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>
#include <iterator>
#include <numbers>

#include <KvxDevCommon01/Kvx.h>
#include <KvxPlot01/GraphSheet.h>
#include <KvxPlot01/Picture.h>
#include <KvxPlot01/RecordGraph.h>
#include <KvxRecording01/RecordingAnalysis.h>
#include <KvxRecording01/SignalRecords.h>

namespace {

constexpr double kRateHz = 2048.0;
constexpr double kGrowth = 0.4;  // of the frequency, per second and in natural logarithms

double SweptHz(double seconds) {
    return 20.0 * std::exp(kGrowth * seconds);
}

}  // namespace

int main() try {
    CComDataWave wave(1 / kRateHz, 1, 1, static_cast<__int64>(7.5 * kRateHz), 0, kvx::NamedUnit("m/s2"),
                      nullptr, nullptr);
    double seconds = 0.0;
    for (double& sample : kvx::Samples(wave, 0, 0)) {
        sample = std::sin(2 * std::numbers::pi * (SweptHz(seconds) - 20.0) / kGrowth);
        seconds += 1 / kRateHz;
    }

    const auto reader = kvx::SignalOfRecords({CComHdr(CComHdr::EXT_INFO_RANDOM_DATA, L"sweep"), {wave}});
    const auto runs = kvx::SlicesOf(*reader, {.blocks = kvx::PlanBlocks(512, 50.0)});
    const CComDataSpecA& slices = runs.front().channels.front();
    const kvx::plot::SliceCourse course = {.startSeconds = runs.front().startSeconds,
                                           .intervalSeconds = runs.front().intervalSeconds};
    std::printf("%lld slices, %g s apart\n", static_cast<long long>(slices.GetNumRow()),
                course.intervalSeconds);
    for (const double at : {2.0, 4.0, 6.0}) {
        const auto slice = std::llround((at - course.startSeconds) / course.intervalSeconds);
        const auto levels = kvx::Samples(slices, slice, 0);
        const auto highest = std::distance(levels.begin(), std::ranges::max_element(levels));
        const double hertz = static_cast<double>(highest) * slices.GetDelta();
        std::printf("at %g s near %.0f Hz: %s\n", at, SweptHz(at),
                    std::abs(hertz / SweptHz(at) - 1) < 0.15 ? "yes" : "no");
    }

    using namespace kvx::plot;
    const GraphSheet sheet({MakeSliceGraph(slices, L"table", course)}, L"A sweep");
    WritePicture(L"sweep.png", PictureFormat::kPng, {}, [&](Canvas& canvas) { sheet.Draw(canvas); });
    std::puts("sweep.png");
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
