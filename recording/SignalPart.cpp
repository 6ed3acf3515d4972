// SPDX-License-Identifier: MIT
#include <KvxRecording01/SignalPart.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include <KvxDevCommon01/files/Channels.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/SignalRuns.h>
#include <KvxRecording01/detail/SignalFiles.h>

namespace kvx {
namespace {

/// Samples of a run: those from `first` on, `count` of them.
struct Piece {
    std::size_t run = 0;
    __int64 first = 0;
    __int64 count = 0;
    double lowest = 0.0;  ///< where the run begins and ends
    double highest = 0.0;
    double later = 0.0;  ///< by how much its first sample stands behind that of the run
};

bool IsInside(const AxisPart& part, double place) {
    return !(part.start && place < *part.start) && !(part.end && place >= *part.end);
}

/// The number of samples of a run that stand before a place.
__int64 CountBefore(const SignalRun& run, double place) {
    // A place is met within this part of a spacing: decimal fractions are none of two.
    constexpr double kTolerance = 1e-6;
    const double index = std::ceil(place / run.delta - kTolerance) - static_cast<double>(run.offset);
    const auto most = static_cast<double>(run.samples);
    return std::isnan(index) ? 0 : static_cast<__int64>(std::clamp(index, 0.0, most));
}

/// The distance of so many samples.
double LengthOf(const SignalRun& run, __int64 samples) {
    const double rate = std::round(1.0 / run.delta);
    const bool isWhole = rate >= 1.0 && 1.0 / rate == run.delta;
    return isWhole ? static_cast<double>(samples) / rate : static_cast<double>(samples) * run.delta;
}

Piece PieceOf(const SignalRun& run, std::size_t number, const AxisPart& part) {
    const __int64 first = part.start ? CountBefore(run, *part.start) : 0;
    const __int64 end = part.end ? CountBefore(run, *part.end) : run.samples;
    return {number,
            first,
            std::max<__int64>(0, end - first),
            static_cast<double>(run.offset) * run.delta,
            static_cast<double>(run.offset + run.samples - 1) * run.delta,
            LengthOf(run, first)};
}

/// The same of a run with listed places, by a pass over it. The samples need not stand together.
Piece PassOver(SignalReader& reader, std::size_t number, const AxisPart& part,
               const ProgressFunction& progress) {
    Piece piece = {number, 0, 0, std::numeric_limits<double>::infinity(),
                   -std::numeric_limits<double>::infinity()};
    std::optional<double> firstPlace;
    const auto take = [&](std::span<double* const> columns, std::size_t count) {
        if (!firstPlace && count > 0) firstPlace = columns[0][0];
        for (const double place : std::span(columns[0], count)) {
            piece.lowest = std::min(piece.lowest, place);
            piece.highest = std::max(piece.highest, place);
            if (IsInside(part, place)) {
                if (piece.count++ == 0) piece.later = place - *firstPlace;
            } else if (piece.count == 0) {
                ++piece.first;
            }
        }
    };
    ReadRun(reader, number, take, progress);
    return piece;
}

/// "record 1 has no sample from 2 s on; it reaches from 0 s to 0.75 s"
std::string EmptyText(const SignalRun& run, const Piece& piece, const AxisPart& part) {
    const auto text = [&](double place) {
        return FormatNumber(place, 10) + " " + UnitText(CUnitCtrl(DimensionOf(run.axisUnit)));
    };
    std::string range = part.start ? " from " + text(*part.start) + (part.end ? "" : " on") : "";
    if (part.end) range += (part.start ? " to " : " before ") + text(*part.end);
    return "record " + std::to_string(run.record) + " has no sample" + range + "; it reaches from " +
           text(piece.lowest) + " to " + text(piece.highest);
}

class PartSignal : public SignalReader {
public:
    PartSignal(std::unique_ptr<SignalReader> reader, const std::vector<Piece>& pieces, AxisPart part)
        : reader_(std::move(reader)), part_(std::move(part)) {
        text_ = reader_->Text();
        remarks_ = reader_->Remarks();
        properties_ = reader_->Properties();
        for (const Piece& piece : pieces) {
            const SignalRun& whole = reader_->Runs()[piece.run];
            if (piece.count == 0) {
                remarks_.push_back(EmptyText(whole, piece, part_));
                continue;
            }
            SignalRun& run = runs_.emplace_back(whole);
            run.samples = piece.count;
            if (!run.isListed) run.offset += piece.first;
            if (run.start && run.axisUnit == CUnitCtrl::DIM_TIME && piece.later != 0.0)
                run.start = run.start->Later(piece.later);
            left_.push_back(piece);
        }
        if (runs_.empty()) throw Error(ErrorKind::kBadValue, remarks_.back());
    }

    std::size_t Read(std::size_t run, std::span<double* const> targets, std::size_t room) override {
        RequireChannels({targets.data(), targets.size()}, run < runs_.size() ? runs_[run].Columns() : 0,
                        room);
        Piece& left = left_[run];
        reader_->Skip(left.run, std::exchange(left.first, 0));
        std::size_t count = 0;
        while (count == 0 && left.count > 0) {
            const std::size_t wanted = std::min(room, static_cast<std::size_t>(left.count));
            const std::size_t got = reader_->Read(left.run, targets, wanted);
            if (got == 0) break;
            count = runs_[run].isListed ? KeepInside(targets, got) : got;
            left.count -= static_cast<__int64>(count);
        }
        return count;
    }

    void Skip(std::size_t run, __int64 count) override {
        RequireRun(run, runs_.size());
        if (runs_[run].isListed) return SignalReader::Skip(run, count);
        Piece& left = left_[run];
        const __int64 passed = std::clamp<__int64>(count, 0, left.count);
        reader_->Skip(left.run, std::exchange(left.first, 0) + passed);
        left.count -= passed;
    }

private:
    /// Moves the samples whose place is inside to the front, and returns how many there are.
    std::size_t KeepInside(std::span<double* const> targets, std::size_t count) const {
        std::size_t kept = 0;
        for (std::size_t i = 0; i < count; ++i) {
            if (!IsInside(part_, targets[0][i])) continue;
            for (double* const column : targets) column[kept] = column[i];
            ++kept;
        }
        return kept;
    }

    std::unique_ptr<SignalReader> reader_;
    AxisPart part_;
    std::vector<Piece> left_;  ///< per run, what is still to be skipped and read
};

class PickedSignal : public SignalReader {
public:
    PickedSignal(std::unique_ptr<SignalReader> reader, std::string_view channels)
        : reader_(std::move(reader)) {
        text_ = reader_->Text();
        remarks_ = reader_->Remarks();
        properties_ = reader_->Properties();
        std::vector<std::wstring> names;
        for (const SignalRun& run : reader_->Runs())
            for (const SignalRun::Channel& channel : run.channels) names.push_back(channel.name);
        const std::vector<std::size_t> chosen = ChooseChannels(channels, names);
        std::size_t first = 0;  // of the run among all channels
        for (std::size_t r = 0; r < reader_->Runs().size(); ++r) {
            const SignalRun& whole = reader_->Runs()[r];
            std::vector<std::size_t> columns;  // where the samples of each channel begin
            std::size_t column = whole.isListed ? 1 : 0;
            for (const SignalRun::Channel& channel : whole.channels) {
                columns.push_back(column);
                column += PartsOf(channel);
            }
            Picked picked = {r, std::vector<std::size_t>(whole.isListed ? 1 : 0)};
            SignalRun run = whole;
            run.channels.clear();
            for (const std::size_t at : chosen) {
                if (at < first || at - first >= whole.channels.size()) continue;
                run.channels.push_back(whole.channels[at - first]);
                for (std::size_t part = 0; part < PartsOf(run.channels.back()); ++part)
                    picked.columns.push_back(columns[at - first] + part);
            }
            first += whole.channels.size();
            if (run.channels.empty()) continue;
            runs_.push_back(std::move(run));
            picked_.push_back(std::move(picked));
        }
    }

    std::size_t Read(std::size_t run, std::span<double* const> targets, std::size_t room) override {
        RequireChannels({targets.data(), targets.size()}, run < runs_.size() ? runs_[run].Columns() : 0,
                        room);
        const Picked& picked = picked_[run];
        std::vector<double*> all(reader_->Runs()[picked.run].Columns(), nullptr);
        for (std::size_t c = 0; c < targets.size(); ++c) all[picked.columns[c]] = targets[c];
        // Readers may fill their columns side by side: each one that is passed over has its own room.
        passedOver_.resize((all.size() - targets.size()) * room);
        double* next = passedOver_.data();
        for (double*& column : all)
            if (column == nullptr) column = std::exchange(next, next + room);
        return reader_->Read(picked.run, all, room);
    }

    void Skip(std::size_t run, __int64 count) override {
        RequireRun(run, runs_.size());
        reader_->Skip(picked_[run].run, count);
    }

private:
    struct Picked {
        std::size_t run;                   ///< of the whole
        std::vector<std::size_t> columns;  ///< of the whole, in the order of those picked
    };

    static std::size_t PartsOf(const SignalRun::Channel& channel) { return channel.isComplex ? 2 : 1; }

    std::unique_ptr<SignalReader> reader_;
    std::vector<Picked> picked_;
    std::vector<double> passedOver_;
};

}  // namespace

std::unique_ptr<SignalReader> PickChannels(std::unique_ptr<SignalReader> reader, std::string_view channels) {
    if (!reader) throw Error(ErrorKind::kBadValue, "there is no recording");
    return std::make_unique<PickedSignal>(std::move(reader), channels);
}

std::unique_ptr<SignalReader> OpenPart(const OpenReader& open, const AxisPart& part,
                                       const ProgressFunction& progress) {
    if (!open) throw Error(ErrorKind::kBadValue, "nothing opens the recording");
    if (part.start && part.end && !(*part.start < *part.end)) {
        throw StatementError(part.endName + " " + FormatNumber(*part.end, 10) + " is not above " +
                             part.startName + " " + FormatNumber(*part.start, 10));
    }
    std::unique_ptr<SignalReader> reader = open();
    if (part.IsAll()) return reader;
    const std::vector<SignalRun>& runs = reader->Runs();
    std::vector<Piece> pieces;
    for (std::size_t r = 0; r < runs.size(); ++r) {
        pieces.push_back(runs[r].isListed ? PassOver(*reader, r, part, progress) : PieceOf(runs[r], r, part));
    }
    if (std::ranges::any_of(runs, &SignalRun::isListed)) reader = open();
    return std::make_unique<PartSignal>(std::move(reader), pieces, part);
}

}  // namespace kvx
