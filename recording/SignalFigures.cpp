// SPDX-License-Identifier: MIT
#include <KvxRecording01/SignalFigures.h>

#include <cstddef>
#include <span>

#include <KvxDevCommon01/files/RecordFigures.h>
#include <KvxDevCommon01/platform/Parallel.h>
#include <KvxRecording01/SignalRuns.h>

namespace kvx {

std::vector<RunFigures> MeasureSignal(SignalReader& reader, const ProgressFunction& progress) {
    const std::vector<SignalRun>& runs = reader.Runs();
    std::vector<RunFigures> figures(runs.size());
    std::vector<std::vector<ShownStatistics>> statistics(runs.size());
    std::vector<std::vector<std::size_t>> columns(runs.size());  // per run, the first of each channel
    for (std::size_t r = 0; r < runs.size(); ++r) {
        const SignalRun& run = runs[r];
        figures[r].first = static_cast<double>(run.offset) * run.delta;
        figures[r].last = static_cast<double>(run.offset + run.samples - 1) * run.delta;
        std::size_t column = run.isListed ? 1 : 0;
        for (const SignalRun::Channel& channel : run.channels) {
            statistics[r].emplace_back(channel.unit);
            columns[r].push_back(column);
            column += channel.isComplex ? 2 : 1;
        }
    }
    std::vector<bool> isBegun(runs.size(), false);
    const auto take = [&](std::size_t r, std::span<double* const> targets, std::size_t count) {
        if (runs[r].isListed) {
            if (!isBegun[r]) figures[r].first = targets[0][0];
            figures[r].last = targets[0][count - 1];
            isBegun[r] = true;
        }
        ForEachInParallel(statistics[r].size(), [&](std::size_t c) {
            const std::size_t column = columns[r][c];
            std::span<const double> imaginary;
            if (runs[r].channels[c].isComplex) imaginary = {targets[column + 1], count};
            statistics[r][c].Add({targets[column], count}, imaginary);
        });
    };
    ReadRuns(reader, take, progress);
    for (std::size_t r = 0; r < runs.size(); ++r) {
        for (const ShownStatistics& channel : statistics[r]) figures[r].channels.push_back(channel.Figures());
    }
    return figures;
}

}  // namespace kvx
