// SPDX-License-Identifier: MIT
#include "commands/Runs.h"

#include <algorithm>

#include <KvxDevCommon01/units/UnitText.h>

namespace kvx::tool {

void AddInputFile(Command& command, InputOptions* options) {
    command
        .AddOption("FILE", options->file,
                   "Data file with time waveforms, text table or sound file, of any length")
        .Required();
}

std::unique_ptr<SignalReader> OpenWaveforms(const InputOptions& options, Progress& progress) {
    return OpenSignal(options.file, options.channels, options.recording, false, progress);
}

double RateOf(const SignalRun& run) {
    return 1.0 / run.delta;
}

void ReadRun(SignalReader& reader, std::size_t run, Progress& progress,
             const std::function<void(std::span<double* const> targets, std::size_t count)>& use,
             std::int64_t most) {
    // Of all channels together; so many that the work on them outweighs the starting of threads, and few
    // enough to stay in the processor's cache.
    constexpr std::size_t kSamples = std::size_t{1} << 17;
    const std::size_t channels = reader.Runs()[run].channels.size();
    const std::size_t room = std::max<std::size_t>(1, kSamples / channels);
    const auto total = static_cast<std::uint64_t>(most < 0 ? reader.Runs()[run].samples : most);
    std::vector<std::vector<double>> samples(channels, std::vector<double>(room));
    std::vector<double*> targets;
    for (std::vector<double>& channel : samples) targets.push_back(channel.data());
    for (std::uint64_t done = 0; done < total;) {
        const std::size_t count = reader.Read(run, targets, std::min<std::uint64_t>(room, total - done));
        if (count == 0) return;
        use(targets, count);
        done += count;
        progress.Update(done, total);
    }
}

std::vector<RunRecord> RecordsOf(const std::vector<SignalRun>& runs) {
    std::vector<RunRecord> records;
    for (std::size_t r = 0; r < runs.size(); ++r) {
        const std::size_t first = records.size();
        for (std::size_t c = 0; c < runs[r].channels.size(); ++c) {
            const CUnitCtrl& unit = runs[r].channels[c].unit;
            auto record = std::find_if(
                records.begin() + static_cast<std::ptrdiff_t>(first), records.end(),
                [&](const RunRecord& other) { return PlainUnitName(other.unit) == PlainUnitName(unit); });
            if (record == records.end())
                record = records.insert(record, {r, runs[r].record + records.size() - first, unit, {}});
            record->channels.push_back(c);
        }
    }
    return records;
}

CStringArray NamesOf(const SignalRun& run, const std::vector<std::size_t>& channels) {
    CStringArray names;
    for (const std::size_t c : channels) names.push_back(run.channels[c].name);
    return names;
}

}  // namespace kvx::tool
