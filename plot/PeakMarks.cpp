// SPDX-License-Identifier: MIT
#include <KvxPlot01/PeakMarks.h>

#include <algorithm>
#include <span>
#include <utility>

#include <KvxDevCommon01/dsp/MatBasic.h>
#include <KvxPlot01/detail/VisibleSamples.h>

namespace kvx::plot {
namespace {

using Search = GRAPHCONFIGINFO_PEAKSEARCH_TAG;

bool IsWanted(const CurvePeak& peak, const Search& search) {
    switch (search.SearchType) {
        case Search::SEARCH_MAXIMA:
            return peak.isMaximum;
        case Search::SEARCH_MINIMA:
            return !peak.isMaximum;
        default:
            return true;
    }
}

/// Every extreme of the run, maxima and minima by turns.
std::vector<CurvePeak> Extremes(std::span<const double> values, const Search& search) {
    const __int64 count = std::ssize(values);
    double low = 0.0;
    double high = 0.0;
    if (!CMatBasic::GetMinMax(count, values.data(), 0, &low, &high)) return {};
    const bool isRatio = search.ThresholdKind != Search::THRESHOLD_LINEAR;
    const double depth = isRatio ? search.RatioThreshold : search.LinearThreshold;
    const auto next = [&](__int64 start, bool forward, int* isPeak) {
        return CMatBasic::SearchPeakNotch(count, values.data(), 0, start, forward, 1, 1, isRatio, depth, low,
                                          high, isPeak);
    };
    std::vector<CurvePeak> extremes;
    int isPeak = 0;
    for (__int64 at = next(0, true, &isPeak); at >= 0;) {
        extremes.push_back({at, isPeak != 0});
        const __int64 following = next(at, true, &isPeak);
        at = following > at ? following : -1;
    }
    // The first one has a side that the walk did not look at: seen from behind it must be an extreme, too.
    if (!extremes.empty() && next(extremes.front().index + 1, false, &isPeak) != extremes.front().index) {
        extremes.erase(extremes.begin());
    }
    return extremes;
}

}  // namespace

std::vector<CurvePeak> FindPeaks(const CurveSamples& samples, const AxisRange& x, const Search& search,
                                 __int64 most) {
    if (samples.Count() < 2 || most < 1) return {};
    const IndexRange visible = SamplesWithin(samples, x.low, x.high);
    if (visible.count < 2) return {};
    std::vector<CurvePeak> peaks = Extremes(
        samples.y.subspan(static_cast<std::size_t>(visible.first), static_cast<std::size_t>(visible.count)),
        search);
    for (CurvePeak& peak : peaks) peak.index += visible.first;
    std::erase_if(peaks, [&](const CurvePeak& peak) {
        const double at = samples.ShownXAt(peak.index);
        return !IsWanted(peak, search) || !(at >= x.low && at <= x.high);
    });

    const auto minima =
        std::stable_partition(peaks.begin(), peaks.end(), [](const CurvePeak& p) { return p.isMaximum; });
    const auto value = [&](const CurvePeak& peak) { return samples.YAt(peak.index); };
    std::stable_sort(peaks.begin(), minima,
                     [&](const CurvePeak& a, const CurvePeak& b) { return value(a) > value(b); });
    std::stable_sort(minima, peaks.end(),
                     [&](const CurvePeak& a, const CurvePeak& b) { return value(a) < value(b); });
    std::vector<CurvePeak> chosen;
    for (auto high = peaks.begin(), low = minima; high != minima || low != peaks.end();) {
        for (auto* list : {&high, &low}) {
            if (*list == (list == &high ? minima : peaks.end())) continue;
            if (std::ssize(chosen) == most) return chosen;
            chosen.push_back(*(*list)++);
        }
    }
    return chosen;
}

}  // namespace kvx::plot
