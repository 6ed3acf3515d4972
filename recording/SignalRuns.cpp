// SPDX-License-Identifier: MIT
#include <KvxRecording01/SignalRuns.h>

#include <algorithm>
#include <map>
#include <utility>

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Parallel.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxDevCommon01/units/UnitText.h>

namespace kvx {
namespace {

struct Piece {
    Piece(std::size_t columns, std::size_t room) : samples(columns, std::vector<double>(room)) {
        for (std::vector<double>& column : samples) targets.push_back(column.data());
    }

    std::vector<std::vector<double>> samples;
    std::vector<double*> targets;
    std::size_t count = 0;
};

class DifferenceSignal : public SignalReader {
public:
    DifferenceSignal(SignalReader& reader, std::unique_ptr<SignalReader> owned)
        : owned_(std::move(owned)), reader_(reader) {
        runs_ = reader.Runs();
        text_ = reader.Text();
        remarks_ = reader.Remarks();
        properties_ = reader.Properties();
        for (SignalRun& run : runs_) {
            std::vector<double>& zeros = zeros_.emplace_back(run.isListed ? 1 : 0, 0.0);
            for (SignalRun::Channel& channel : run.channels) {
                zeros.push_back(channel.isComplex ? 0.0 : ZeroOf(channel.unit));
                if (channel.isComplex) zeros.push_back(0.0);
                channel.unit = DifferenceUnit(channel.unit);
            }
        }
    }

    std::size_t Read(std::size_t run, std::span<double* const> targets, std::size_t room) override {
        const std::size_t count = reader_.Read(run, targets, room);
        for (std::size_t c = 0; c < targets.size(); ++c) {
            const double zero = zeros_[run][c];
            if (zero == 0.0) continue;
            for (double& sample : std::span(targets[c], count)) {
                if (sample != kNoValue<double>) sample -= zero;
            }
        }
        return count;
    }

    void Skip(std::size_t run, __int64 count) override { reader_.Skip(run, count); }

private:
    std::unique_ptr<SignalReader> owned_;
    SignalReader& reader_;
    std::vector<std::vector<double>> zeros_;  ///< per run and column
};

}  // namespace

void ReadRun(SignalReader& reader, std::size_t run, const TakeSamples& take, const ProgressFunction& progress,
             std::optional<std::int64_t> most) {
    // Of all channels together; so many that the work on them outweighs the starting of threads, and few
    // enough to stay in the processor's cache.
    constexpr std::size_t kSamples = std::size_t{1} << 17;
    RequireRun(run, reader.Runs().size());
    if (!take) throw Error(ErrorKind::kBadValue, "nothing takes the samples");
    const std::size_t columns = reader.Runs()[run].Columns();
    const auto total =
        static_cast<std::uint64_t>(std::max<std::int64_t>(0, most.value_or(reader.Runs()[run].samples)));
    // A file may have very many short runs.
    const auto room = static_cast<std::size_t>(
        std::clamp<std::uint64_t>(kSamples / columns, 1, std::max<std::uint64_t>(1, total)));
    // A piece is read while the one before it is worked on.
    Piece pieces[] = {Piece(columns, room), Piece(columns, room)};
    std::uint64_t asked = 0;
    const auto read = [&](Piece& piece) {
        const std::uint64_t wanted = std::min<std::uint64_t>(room, total - asked);
        piece.count = wanted > 0 ? reader.Read(run, piece.targets, wanted) : 0;
        asked += piece.count;
    };
    read(pieces[0]);
    std::uint64_t done = 0;
    for (std::size_t i = 0; pieces[i % 2].count > 0; ++i) {
        const Piece& piece = pieces[i % 2];
        Piece& next = pieces[(i + 1) % 2];
        next.count = 0;
        ForEachInParallel(asked < total ? 2 : 1, [&](std::size_t work) {
            if (work == 0) {
                take(piece.targets, piece.count);
            } else {
                read(next);
            }
        });
        done += piece.count;
        if (progress) progress(done, total);
    }
}

std::uint64_t CountSamples(std::span<const SignalRun> runs) {
    std::uint64_t count = 0;
    for (const SignalRun& run : runs) count += static_cast<std::uint64_t>(run.samples) * run.channels.size();
    return count;
}

void ReadRuns(SignalReader& reader, const TakeRunSamples& take, const ProgressFunction& progress) {
    const std::uint64_t total = CountSamples(reader.Runs());
    std::uint64_t done = 0;
    for (std::size_t r = 0; r < reader.Runs().size(); ++r) {
        const std::size_t channels = reader.Runs()[r].channels.size();
        ReadRun(reader, r, [&](std::span<double* const> columns, std::size_t count) {
            take(r, columns, count);
            done += count * channels;
            if (progress) progress(done, total);
        });
    }
}

void RequireLinearUnit(const SignalRun::Channel& channel) {
    if (!IsLogarithmic(channel.unit)) return;
    throw Error(ErrorKind::kUnsupported, "channel " + Quote(channel.name) + " is in " +
                                             Quote(UnitText(channel.unit)) +
                                             ", a logarithm, which is neither filtered nor averaged" +
                                             (channel.unit.IsSingle() ? "; convert it to '%' first" : ""));
}

void RequireLinearUnits(std::span<const SignalRun> runs) {
    for (const SignalRun& run : runs) std::ranges::for_each(run.channels, RequireLinearUnit);
}

std::unique_ptr<SignalReader> AsDifferences(std::unique_ptr<SignalReader> reader) {
    if (!reader) throw Error(ErrorKind::kBadValue, "there is no recording");
    SignalReader& owned = *reader;
    return std::make_unique<DifferenceSignal>(owned, std::move(reader));
}

std::unique_ptr<SignalReader> AsDifferences(SignalReader& reader) {
    return std::make_unique<DifferenceSignal>(reader, nullptr);
}

std::vector<RunRecord> RecordsOf(std::span<const SignalRun> runs) {
    std::vector<RunRecord> records;
    for (std::size_t r = 0; r < runs.size(); ++r) {
        const std::size_t first = records.size();
        std::map<CString, std::size_t> ofUnits;
        for (std::size_t c = 0; c < runs[r].channels.size(); ++c) {
            const CUnitCtrl& unit = runs[r].channels[c].unit;
            const auto [record, isNew] = ofUnits.try_emplace(PlainUnitName(unit), records.size());
            if (isNew) {
                const std::size_t next = records.empty() ? 1 : records.back().number + 1;
                records.push_back({r, std::max(next, runs[r].record + records.size() - first), unit, {}});
            }
            records[record->second].channels.push_back(c);
        }
    }
    return records;
}

}  // namespace kvx
