// SPDX-License-Identifier: MIT
#include <KvxRecording01/SignalReader.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <utility>

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/platform/Parallel.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/Formats.h>
#include <KvxRecording01/detail/SignalFiles.h>

namespace kvx {
namespace {

using Channels = std::vector<SignalRun::Channel>;

void StateNames(const RecordingStatements& statements, Channels* channels) {
    const std::vector<std::wstring>& names = statements.names;
    if (names.empty()) return;
    if (names.size() != channels->size()) {
        throw StatementError(statements.called.names + " gives " + Count(std::ssize(names), "name") +
                             " for " + Count(std::ssize(*channels), "channel"));
    }
    for (std::size_t c = 0; c < names.size(); ++c) (*channels)[c].name = names[c];
}

void StateUnits(const RecordingStatements& statements, Channels* channels) {
    const std::vector<CUnitCtrl>& units = statements.units;
    if (units.empty()) return;
    if (units.size() > 1 && units.size() != channels->size()) {
        throw StatementError(statements.called.units + " gives " + Count(std::ssize(units), "value") +
                             " for " + Count(std::ssize(*channels), "channel"));
    }
    for (std::size_t c = 0; c < channels->size(); ++c) (*channels)[c].unit = units[units.size() > 1 ? c : 0];
}

/// A recording with what was stated of it; its samples become those of the standard units as they pass.
class RecordingSignal : public SignalReader {
public:
    RecordingSignal(std::unique_ptr<RecordingReader> recording, const std::string& channels,
                    const RecordingStatements& statements)
        : recording_(std::move(recording)),
          scale_(recording_->Info().hasFullScale ? statements.fullScale.value_or(1.0) : 1.0) {
        if (!(scale_ > 0.0) || !std::isfinite(scale_))
            throw StatementError(statements.called.fullScale + " is not a number above 0");
        text_ = statements.source;
        remarks_ = recording_->Info().remarks;
        SignalRun run;
        run.samples = recording_->Info().samples;
        run.channels = SettleChannels(channels, statements);
        TimeAxis axis = SettleAxis(recording_->Info(), statements.rateHz, statements.called.rate);
        run.delta = 1.0 / axis.rateHz;
        run.offset = axis.offset;
        runs_.push_back(std::move(run));
        std::ranges::move(axis.remarks, std::back_inserter(remarks_));
    }

    std::size_t Read(std::size_t run, std::span<double* const> targets, std::size_t room) override {
        const Channels& channels = runs_.front().channels;
        RequireChannels({targets.data(), targets.size()}, run == 0 ? channels.size() : 0, room);
        std::vector<double*> all(recording_->Info().channels.size(), nullptr);
        for (std::size_t c = 0; c < channels.size(); ++c) all[channels[c].number - 1] = targets[c];
        const std::size_t count = recording_->Read(all, room);
        ForEachInParallel(channels.size(), [&](std::size_t c) {
            const std::span samples(targets[c], count);
            if (scale_ != 1.0) std::ranges::for_each(samples, [&](double& sample) { sample *= scale_; });
            const CUnitCtrl& unit = channels[c].unit;
            unit.ConvItoD(targets[c], targets[c], static_cast<__int64>(count), 1.0, unit.IsSingle());
            RequireStorable(channels[c], samples);
        });
        return count;
    }

private:
    void RequireStorable(const SignalRun::Channel& channel, std::span<const double> samples) const {
        if (AreValues(samples)) return;
        const auto bad = std::ranges::find_if_not(samples, [](double v) { return AreValues({&v, 1}); });
        throw recording_->ErrorAt(
            channel.number - 1, static_cast<std::size_t>(bad - samples.begin()), ErrorKind::kUnsupported,
            std::isfinite(*bad) ? "the value is reserved as the marker of missing samples"
                                : "the value overflows in conversion from " + Quote(UnitText(channel.unit)) +
                                      " to the standard unit");
    }

    /// The chosen channels with their names and units.
    Channels SettleChannels(const std::string& choice, const RecordingStatements& statements) {
        const std::vector<RecordingInfo::Channel>& all = recording_->Info().channels;
        std::vector<std::wstring> names;
        for (const RecordingInfo::Channel& channel : all) {
            names.push_back(channel.name.empty() ? L"ch" + std::to_wstring(names.size() + 1) : channel.name);
        }
        Channels chosen;
        for (const std::size_t at : ChooseChannels(choice, names)) {
            chosen.push_back({names[at], all[at].unit.value_or(CUnitCtrl()), at + 1});
        }
        StateNames(statements, &chosen);
        StateUnits(statements, &chosen);
        for (const SignalRun::Channel& channel : chosen) {
            const std::wstring& unknown = all[channel.number - 1].unknownUnit;
            if (unknown.empty() || !statements.units.empty()) continue;
            remarks_.push_back("the unit " + Quote(unknown) + " of channel " + Quote(channel.name) +
                               " is not known, so its values are plain numbers; give it with " +
                               statements.called.units);
        }
        return chosen;
    }

    std::unique_ptr<RecordingReader> recording_;
    double scale_;
};

void RequireNothingStated(const RecordingStatements& stated) {
    const TextOptions& text = stated.text;
    if (!stated.rateHz && stated.units.empty() && stated.names.empty() && !stated.fullScale &&
        !stated.isPartial && !text.firstColumnIsTime && !text.decimalComma && text.codePage == 0) {
        return;
    }
    throw Error(ErrorKind::kUnsupported, "a data file knows its rate, units and names; the " +
                                             stated.called.any +
                                             " that state them are for text and sound files");
}

}  // namespace

void SignalReader::Skip(std::size_t run, __int64 count) {
    constexpr std::size_t kRoom = std::size_t{1} << 14;
    if (run >= runs_.size()) throw Error(ErrorKind::kBadValue, "there is no such run");
    std::vector<std::vector<double>> samples(runs_[run].channels.size(), std::vector<double>(kRoom));
    std::vector<double*> targets;
    for (std::vector<double>& channel : samples) targets.push_back(channel.data());
    while (count > 0) {
        const std::size_t passed = Read(run, targets, std::min(kRoom, static_cast<std::size_t>(count)));
        if (passed == 0) return;
        count -= static_cast<__int64>(passed);
    }
}

void RequireChannels(std::span<const double* const> channels, std::size_t expected, std::size_t count) {
    const std::size_t given = channels.size();
    if (given == expected && expected > 0) {
        if (count == 0 || std::find(channels.begin(), channels.end(), nullptr) == channels.end()) return;
        throw Error(ErrorKind::kBadValue, "a channel has no samples");
    }
    throw Error(ErrorKind::kBadValue, expected == 0 ? "there is no such run"
                                                    : "the run has " +
                                                          Count(static_cast<long long>(expected), "channel") +
                                                          ", not " + std::to_string(given));
}

WrittenRun::WrittenRun(const SignalRun& run) : channels_(run.channels.size()), left_(run.samples) {
    if (channels_ == 0 || left_ < 1)
        throw Error(ErrorKind::kBadValue, "there are no channels or no samples to write");
    if (!IsEvenAxis(run.delta, run.offset, run.samples)) {
        throw Error(ErrorKind::kBadValue,
                    "a spacing of " + FormatNumber(run.delta) + " s makes no time axis");
    }
}

void WrittenRun::Add(std::size_t run, std::span<double* const> channels, std::size_t count) {
    RequireChannels({channels.data(), channels.size()}, run == 0 ? channels_ : 0, count);
    if (count > static_cast<std::uint64_t>(left_))
        throw Error(ErrorKind::kBadValue, "there are more samples than the run has");
    left_ -= static_cast<__int64>(count);
}

void WrittenRun::RequireAll() const {
    if (left_ > 0) throw Error(ErrorKind::kBadValue, "not all of its samples were written");
}

StatementError::StatementError(std::string sentence) : Error(ErrorKind::kBadValue, std::move(sentence)) {}

std::unique_ptr<SignalReader> SettleSignal(std::unique_ptr<RecordingReader> recording,
                                           const std::string& channels,
                                           const RecordingStatements& statements) {
    if (!recording) throw Error(ErrorKind::kBadValue, "there is no recording");
    return std::make_unique<RecordingSignal>(std::move(recording), channels, statements);
}

std::unique_ptr<SignalReader> OpenSignal(const std::string& path, const ChannelChoice& choice,
                                         const RecordingStatements& statements,
                                         const ProgressFunction& progress) {
    if (RecognizeFile(path).format == Format::dataFile) {
        RequireNothingStated(statements);
        return OpenDataFileSignal(path, choice);
    }
    if (choice.record > 0)
        throw Error(ErrorKind::kUnsupported, statements.called.record + " is for data files");
    RecordingStatements stated = statements;
    if (stated.source.empty()) {
        stated.source = FromUtf8(std::filesystem::path(path).filename().string()).value_or(L"");
    }
    return SettleSignal(OpenRecording(path, stated, progress), choice.channels, stated);
}

}  // namespace kvx
