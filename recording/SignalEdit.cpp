// SPDX-License-Identifier: MIT
#include <KvxRecording01/SignalEdit.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <span>
#include <utility>

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/files/Channels.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Parallel.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>

namespace kvx {
namespace {

class EditedSignal : public SignalReader {
public:
    EditedSignal(std::unique_ptr<SignalReader> reader, const SignalEdit& edit) : reader_(std::move(reader)) {
        runs_ = reader_->Runs();
        text_ = edit.text.value_or(reader_->Text());
        remarks_ = reader_->Remarks();
        properties_ = reader_->Properties();
        const std::size_t channels = ChannelsOf(*reader_).size();
        if (!edit.channels.empty() && edit.channels.size() != channels) {
            throw Error(ErrorKind::kBadValue, Count(std::ssize(edit.channels), "change") + " for " +
                                                  Count(static_cast<long long>(channels), "channel"));
        }
        std::size_t number = 0;
        for (SignalRun& run : runs_) {
            std::vector<Levels>& levels = levels_.emplace_back();
            std::size_t column = run.isListed ? 1 : 0;
            for (SignalRun::Channel& channel : run.channels) {
                const ChannelEdit change = edit.channels.empty() ? ChannelEdit() : edit.channels[number++];
                levels.push_back(
                    {column, channel.unit, change.unit.value_or(channel.unit), change.scale, change.offset});
                Apply(change, &channel);
                column += channel.isComplex ? 2 : 1;
            }
        }
    }

    std::size_t Read(std::size_t run, std::span<double* const> targets, std::size_t room) override {
        const std::size_t count = reader_->Read(run, targets, room);
        if (std::ranges::all_of(levels_[run], &Levels::AreKept)) return count;
        ForEachInParallel(runs_[run].channels.size(), [&](std::size_t c) {
            const Levels& levels = levels_[run][c];
            if (levels.AreKept()) return;
            const SignalRun::Channel& channel = runs_[run].channels[c];
            for (std::size_t part = 0; part < (channel.isComplex ? 2U : 1U); ++part)
                Change(levels, channel, {targets[levels.column + part], count});
        });
        return count;
    }

    void Skip(std::size_t run, __int64 count) override { reader_->Skip(run, count); }

private:
    struct Levels {
        std::size_t column;  ///< of the channel's (real) samples
        CUnitCtrl from;      ///< that the numbers were in
        CUnitCtrl to;        ///< that they are in
        double scale;
        double offset;

        /// Of two units of one dimension the numbers differ.
        bool AreKept() const {
            return std::ranges::equal(UnitParts(from), UnitParts(to)) && scale == 1.0 && offset == 0.0;
        }
    };

    static void Apply(const ChannelEdit& change, SignalRun::Channel* channel) {
        if (change.name) channel->name = *change.name;
        if (change.unit) channel->unit = *change.unit;
        if (!std::isfinite(change.scale) || !std::isfinite(change.offset))
            throw Error(ErrorKind::kBadValue, "a scale or offset is no number");
        if (change.offset != 0.0 && channel->isComplex) {
            throw Error(ErrorKind::kUnsupported,
                        "channel " + Quote(channel->name) + " is complex, which no offset is added to");
        }
        if (!change.shownIn) return;
        if (!IsConvertible(channel->unit, *change.shownIn)) {
            throw Error(ErrorKind::kUnsupported,
                        "channel " + Quote(channel->name) + " is in " + Quote(UnitText(channel->unit)) +
                            ", which does not convert to " + Quote(UnitText(*change.shownIn)));
        }
        channel->unit = *change.shownIn;
    }

    static void Change(const Levels& levels, const SignalRun::Channel& channel, std::span<double> samples) {
        std::vector<std::size_t> missing;
        for (std::size_t i = 0; i < samples.size(); ++i)
            if (samples[i] == kNoValue<double>) missing.push_back(i);
        const auto absolute = [&](const CUnitCtrl& unit) {
            return !channel.isComplex && unit.IsSingle() ? 1 : 0;
        };
        const auto count = std::ssize(samples);
        levels.from.ConvDtoI(samples.data(), samples.data(), count, 1.0, absolute(levels.from));
        for (double& sample : samples) sample = sample * levels.scale + levels.offset;
        levels.to.ConvItoD(samples.data(), samples.data(), count, 1.0, absolute(levels.to));
        for (const std::size_t at : missing) samples[at] = 0.0;
        if (!AreValues(samples)) {
            throw Error(ErrorKind::kUnsupported, "the changed levels of channel " + Quote(channel.name) +
                                                     " leave the range of numbers");
        }
        for (const std::size_t at : missing) samples[at] = kNoValue<double>;
    }

    std::unique_ptr<SignalReader> reader_;
    std::vector<std::vector<Levels>> levels_;  ///< per run and channel
};

}  // namespace

std::vector<SignalRun::Channel> ChannelsOf(const SignalReader& reader) {
    std::vector<SignalRun::Channel> channels;
    for (const SignalRun& run : reader.Runs())
        channels.insert(channels.end(), run.channels.begin(), run.channels.end());
    return channels;
}

std::unique_ptr<SignalReader> EditSignal(std::unique_ptr<SignalReader> reader, const SignalEdit& edit) {
    if (!reader) throw Error(ErrorKind::kBadValue, "there is no recording");
    return std::make_unique<EditedSignal>(std::move(reader), edit);
}

}  // namespace kvx
