// SPDX-License-Identifier: MIT
#include <KvxRecording01/SignalStatistics.h>

#include <cmath>
#include <cstddef>

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Parallel.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/SignalRuns.h>

namespace kvx {
namespace {

Histogram MakeHistogram(const SignalRun::Channel& channel, const SampleFigures& figures,
                        const HistogramChoice& choice) {
    if (channel.isComplex) {
        throw Error(ErrorKind::kUnsupported,
                    "channel " + Quote(channel.name) + " is complex, which a histogram is not of");
    }
    double low = choice.low.value_or(figures.min);
    double high = choice.high.value_or(figures.max);
    if (!std::isfinite(high - low)) {
        throw Error(ErrorKind::kBadValue,
                    "the values of channel " + Quote(channel.name) + " have no finite range");
    }
    if (low == high && !choice.low && !choice.high) {
        low -= 0.5;
        high += 0.5;
    }
    return Histogram(low, high, choice.classes);
}

}  // namespace

std::vector<std::vector<Histogram>> HistogramsOf(SignalReader& reader, std::span<const RunFigures> figures,
                                                 const HistogramChoice& choice,
                                                 const ProgressFunction& progress) {
    const std::vector<SignalRun>& runs = reader.Runs();
    std::vector<std::vector<Histogram>> histograms(runs.size());
    std::vector<std::vector<double>> shown;
    for (std::size_t r = 0; r < runs.size(); ++r) {
        const std::vector<SignalRun::Channel>& channels = runs[r].channels;
        for (std::size_t c = 0; c < channels.size(); ++c)
            histograms[r].push_back(MakeHistogram(channels[c], figures[r].channels[c], choice));
        shown.resize(std::max(shown.size(), channels.size()));
    }
    const auto take = [&](std::size_t r, std::span<double* const> columns, std::size_t count) {
        const std::size_t first = runs[r].isListed ? 1 : 0;
        ForEachInParallel(histograms[r].size(), [&](std::size_t c) {
            const CUnitCtrl& unit = runs[r].channels[c].unit;
            const double* const samples = columns[first + c];
            shown[c].resize(count);
            unit.ConvDtoI(shown[c].data(), samples, static_cast<__int64>(count), 1.0,
                          unit.IsSingle() ? 1 : 0);
            for (std::size_t i = 0; i < count; ++i)
                if (samples[i] == kNoValue<double>) shown[c][i] = kNoValue<double>;
            histograms[r][c].Add(shown[c]);
        });
    };
    ReadRuns(reader, take, progress);
    return histograms;
}

SignalRun MovingRmsRun(const SignalRun& run, const MovingWindow& window) {
    SignalRun moving = run;
    moving.samples = CountMoving(window, run.samples);
    if (moving.samples == 0) {
        throw Error(ErrorKind::kBadValue, "a window of " + Count(window.samples, "sample") +
                                              " is longer than its " + Count(run.samples, "sample"));
    }
    const auto step = static_cast<double>(window.step);
    moving.delta = run.delta * step;
    moving.offset = std::llround(static_cast<double>(run.offset + window.samples) / step);
    if (run.start) moving.start = run.start->Later(static_cast<double>(window.samples) * run.delta);
    for (SignalRun::Channel& channel : moving.channels) channel.unit = DifferenceUnit(channel.unit);
    return moving;
}

}  // namespace kvx
