// SPDX-License-Identifier: MIT
#include <KvxRecording01/SignalMerge.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <span>
#include <utility>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/detail/SignalFiles.h>

namespace kvx {
namespace {

/// Two spacings are one within what decimal digits of a rate leave.
bool AreOneSpacing(double a, double b) {
    constexpr double kTolerance = 1e-9;
    return std::abs(a - b) <= kTolerance * std::abs(a);
}

std::string AxisText(const CUnitCtrl& axisUnit, double place) {
    return FormatNumber(place, 10) + " " + UnitText(CUnitCtrl(DimensionOf(axisUnit)));
}

std::string SpacingText(const SignalRun& run) {
    if (run.isListed) return "a place of its own for each sample";
    if (run.axisUnit == CUnitCtrl::DIM_TIME) return "a rate of " + FormatNumber(1.0 / run.delta, 10) + " Hz";
    return "a spacing of " + AxisText(run.axisUnit, run.delta);
}

double StartOf(const SignalRun& run) {
    return static_cast<double>(run.offset) * run.delta;
}

[[noreturn]] void Refuse(const MergeInput& first, const MergeInput& other, const std::string& firstHas,
                         const std::string& otherHas) {
    throw Error(ErrorKind::kUnsupported,
                other.name + " has " + otherHas + ", " + first.name + " " + firstHas);
}

/// Throws Error unless the runs have one spacing.
void RequireOneSpacing(const MergeInput& first, const SignalRun& a, const MergeInput& other,
                       const SignalRun& b) {
    if (DimensionOf(a.axisUnit) != DimensionOf(b.axisUnit)) {
        Refuse(first, other, "values over " + std::string(DimensionText(DimensionOf(a.axisUnit))),
               "values over " + std::string(DimensionText(DimensionOf(b.axisUnit))));
    }
    if (a.isListed != b.isListed || (!a.isListed && !AreOneSpacing(a.delta, b.delta)))
        Refuse(first, other, SpacingText(a), SpacingText(b));
}

void RequireInputs(const std::vector<MergeInput>& inputs) {
    const auto isEmpty = [](const MergeInput& input) {
        return !input.reader || input.reader->Runs().empty();
    };
    if (inputs.empty() || std::ranges::any_of(inputs, isEmpty))
        throw Error(ErrorKind::kBadValue, "there is no recording to merge");
}

/// A reader over others.
class MergedSignal : public SignalReader {
protected:
    explicit MergedSignal(std::vector<MergeInput> inputs) : inputs_(std::move(inputs)) {
        RequireInputs(inputs_);
        text_ = inputs_.front().reader->Text();
        properties_ = inputs_.front().reader->Properties();
        for (const MergeInput& input : inputs_) {
            for (const std::string& remark : input.reader->Remarks())
                remarks_.push_back(input.name + ": " + remark);
        }
    }

    std::vector<MergeInput> inputs_;
};

class SideBySide : public MergedSignal {
public:
    SideBySide(std::vector<MergeInput> inputs, const StatementNames& called)
        : MergedSignal(std::move(inputs)) {
        for (const MergeInput& input : inputs_) {
            const std::vector<SignalRun>& runs = input.reader->Runs();
            if (runs.size() > 1) {
                throw Error(ErrorKind::kUnsupported,
                            input.name + " has " + Count(std::ssize(runs), "record") +
                                " with axes of their own; choose one with " + called.record);
            }
            if (runs_.empty()) {
                runs_.push_back(runs.front());
                runs_.front().channels.clear();
            } else {
                RequireSameAxis(input, runs.front());
                TakeStart(input, runs.front());
            }
            for (SignalRun::Channel channel : runs.front().channels) {
                channel.number = runs_.front().channels.size() + 1;
                runs_.front().channels.push_back(std::move(channel));
            }
        }
        runs_.front().record = 1;
    }

    std::size_t Read(std::size_t run, std::span<double* const> targets, std::size_t room) override {
        RequireChannels({targets.data(), targets.size()}, run == 0 ? runs_.front().Columns() : 0, room);
        const bool isListed = runs_.front().isListed;
        std::size_t count = room;
        std::size_t column = isListed ? 1 : 0;
        for (std::size_t i = 0; i < inputs_.size(); ++i) {
            const std::size_t own = inputs_[i].reader->Runs().front().Columns() - (isListed ? 1 : 0);
            std::vector<double*> columns(targets.begin() + static_cast<std::ptrdiff_t>(column),
                                         targets.begin() + static_cast<std::ptrdiff_t>(column + own));
            column += own;
            if (isListed) {
                if (i > 0) places_.resize(count);
                columns.insert(columns.begin(), i == 0 ? targets[0] : places_.data());
            }
            const std::size_t got = ReadAll(*inputs_[i].reader, columns, count);
            if (i > 0 && got < count) {
                throw Error(ErrorKind::kDamaged, inputs_[i].name + " ends before " + inputs_.front().name);
            }
            count = got;
            if (isListed && i > 0) RequireSamePlaces(inputs_[i], {targets[0], count});
        }
        return count;
    }

    void Skip(std::size_t run, __int64 count) override {
        if (runs_.front().isListed) return SignalReader::Skip(run, count);
        for (const MergeInput& input : inputs_) input.reader->Skip(run, count);
    }

private:
    void RequireSameAxis(const MergeInput& other, const SignalRun& run) const {
        const MergeInput& first = inputs_.front();
        const SignalRun& expected = runs_.front();
        RequireOneSpacing(first, expected, other, run);
        if (expected.samples != run.samples)
            Refuse(first, other, Count(expected.samples, "sample"), Count(run.samples, "sample"));
        if (!run.isListed && expected.offset != run.offset) {
            Refuse(first, other, "one at " + AxisText(expected.axisUnit, StartOf(expected)),
                   "its first sample at " + AxisText(run.axisUnit, StartOf(run)));
        }
    }

    /// The start of the first input that tells one holds for all.
    void TakeStart(const MergeInput& other, const SignalRun& run) {
        std::optional<StartTime>& start = runs_.front().start;
        if (!start) start = run.start;
        if (!run.start || *run.start == *start) return;
        remarks_.push_back(other.name + " started at " + run.start->Text() +
                           ", the merged one is said to at " + start->Text());
    }

    void RequireSamePlaces(const MergeInput& other, std::span<const double> places) const {
        for (std::size_t i = 0; i < places.size(); ++i) {
            if (places[i] == places_[i]) continue;
            const CUnitCtrl& unit = runs_.front().axisUnit;
            Refuse(inputs_.front(), other, "one at " + AxisText(unit, places[i]),
                   "a sample at " + AxisText(unit, places_[i]));
        }
    }

    /// Reads until there are `room` samples, or as many as there are.
    static std::size_t ReadAll(SignalReader& reader, std::vector<double*> columns, std::size_t room) {
        std::size_t done = 0;
        while (done < room) {
            const std::size_t got = reader.Read(0, columns, room - done);
            if (got == 0) break;
            for (double*& column : columns) column += got;
            done += got;
        }
        return done;
    }

    std::vector<double> places_;  ///< of the input that is read
};

class OneAfterTheOther : public MergedSignal {
public:
    explicit OneAfterTheOther(std::vector<MergeInput> inputs) : MergedSignal(std::move(inputs)) {
        const MergeInput& first = inputs_.front();
        runs_ = first.reader->Runs();
        for (std::size_t i = 1; i < inputs_.size(); ++i) {
            const MergeInput& other = inputs_[i];
            const std::vector<SignalRun>& runs = other.reader->Runs();
            if (runs.size() != runs_.size()) {
                Refuse(first, other, Count(std::ssize(runs_), "record"), Count(std::ssize(runs), "record"));
            }
            for (std::size_t r = 0; r < runs.size(); ++r) Append(other, runs[r], &runs_[r]);
        }
        for (const SignalRun& run : first.reader->Runs()) turns_.push_back({0, run.samples});
    }

    std::size_t Read(std::size_t run, std::span<double* const> targets, std::size_t room) override {
        RequireChannels({targets.data(), targets.size()}, run < runs_.size() ? runs_[run].Columns() : 0,
                        room);
        if (!Enter(run)) return 0;
        Turn& turn = turns_[run];
        const std::size_t wanted = std::min(room, static_cast<std::size_t>(turn.left));
        const std::size_t count = inputs_[turn.input].reader->Read(run, targets, wanted);
        if (count == 0 && wanted > 0)
            throw Error(ErrorKind::kDamaged, inputs_[turn.input].name + " ends before its last sample");
        turn.left -= static_cast<__int64>(count);
        if (count > 0 && runs_[run].isListed && targets[0] != nullptr) {
            if (turn.isBegun && turn.input != turn.lastInput && !(targets[0][0] > turn.last)) {
                throw Error(ErrorKind::kUnsupported,
                            inputs_[turn.input].name + " begins in front of where the one before it ends");
            }
            turn.isBegun = true;
            turn.lastInput = turn.input;
            turn.last = targets[0][count - 1];
        }
        return count;
    }

    void Skip(std::size_t run, __int64 count) override {
        if (run >= runs_.size()) throw Error(ErrorKind::kBadValue, "there is no such run");
        while (count > 0 && Enter(run)) {
            Turn& turn = turns_[run];
            const __int64 passed = std::min(count, turn.left);
            inputs_[turn.input].reader->Skip(run, passed);
            turn.left -= passed;
            count -= passed;
        }
    }

private:
    /// The input of a run that is read next, and what is left of it.
    struct Turn {
        std::size_t input = 0;
        __int64 left = 0;
        bool isBegun = false;  ///< whether the members below, of listed places, are known
        std::size_t lastInput = 0;
        double last = 0.0;
    };

    /// Whether something of the run is left; then its turn is that of an input that has some.
    bool Enter(std::size_t run) {
        Turn& turn = turns_[run];
        while (turn.left == 0 && turn.input + 1 < inputs_.size())
            turn.left = inputs_[++turn.input].reader->Runs()[run].samples;
        return turn.left > 0;
    }

    void Append(const MergeInput& other, const SignalRun& run, SignalRun* joined) {
        const MergeInput& first = inputs_.front();
        RequireOneSpacing(first, *joined, other, run);
        if (run.channels.size() != joined->channels.size()) {
            Refuse(first, other, Count(std::ssize(joined->channels), "channel"),
                   Count(std::ssize(run.channels), "channel"));
        }
        for (std::size_t c = 0; c < run.channels.size(); ++c) {
            const SignalRun::Channel& own = run.channels[c];
            const SignalRun::Channel& expected = joined->channels[c];
            const std::string number = "channel " + std::to_string(expected.number);
            if (own.isComplex != expected.isComplex || !IsConvertible(own.unit, expected.unit)) {
                Refuse(first, other, "it in " + Quote(UnitText(expected.unit)),
                       number + " in " + Quote(UnitText(own.unit)));
            }
            if (own.name != expected.name) {
                remarks_.push_back(other.name + " calls " + number + " " + Quote(own.name) + ", " +
                                   first.name + " " + Quote(expected.name));
            }
        }
        const __int64 end = joined->offset + joined->samples;
        if (!run.isListed && run.offset != 0 && run.offset != end) {
            remarks_.push_back(other.name + " begins at " + AxisText(run.axisUnit, StartOf(run)) +
                               "; it is set to " +
                               AxisText(run.axisUnit, static_cast<double>(end) * joined->delta) +
                               ", where the one before it ends");
        }
        RemarkOnGap(other, run, *joined);
        joined->samples += run.samples;
    }

    /// Remarks on a start that is not where the samples so far end.
    void RemarkOnGap(const MergeInput& other, const SignalRun& run, const SignalRun& joined) {
        if (!run.start || !joined.start || run.isListed || run.axisUnit != CUnitCtrl::DIM_TIME) return;
        const double gap =
            run.start->Since(*joined.start) - static_cast<double>(joined.samples) * joined.delta;
        if (std::abs(gap) <= joined.delta) return;
        remarks_.push_back(other.name + " started " + FormatNumber(std::abs(gap), 6) + " s " +
                           (gap > 0.0 ? "after" : "before") + " the end of what it is joined to, at " +
                           run.start->Text() + ", which is not kept");
    }

    std::vector<Turn> turns_;  ///< per run
};

}  // namespace

std::unique_ptr<SignalReader> MergeChannels(std::vector<MergeInput> inputs, const StatementNames& called) {
    return std::make_unique<SideBySide>(std::move(inputs), called);
}

std::unique_ptr<SignalReader> JoinInTime(std::vector<MergeInput> inputs) {
    return std::make_unique<OneAfterTheOther>(std::move(inputs));
}

}  // namespace kvx
