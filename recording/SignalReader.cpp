// SPDX-License-Identifier: MIT
#include <KvxRecording01/SignalReader.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <utility>

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/files/RecordFigures.h>
#include <KvxDevCommon01/platform/Parallel.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitNames.h>
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

/// Throws StatementError unless what is stated is nothing, one for all or one for each of `channels`.
template <class Value>
void RequireOneOrEach(const std::vector<Value>& stated, const std::string& name, std::size_t channels) {
    if (stated.size() <= 1 || stated.size() == channels) return;
    throw StatementError(name + " gives " + Count(std::ssize(stated), "value") + " for " +
                         Count(static_cast<long long>(channels), "channel"));
}

template <class Value>
const Value* StatedOf(const std::vector<Value>& stated, std::size_t channel) {
    return stated.empty() ? nullptr : &stated[stated.size() > 1 ? channel : 0];
}

/// Multiplies samples, or divides them where that is exact and the factor is a rounded decimal: 0.01.
void Multiply(std::span<double> samples, double factor) {
    if (factor == 1.0) return;
    const double divisor = std::round(1.0 / factor);
    if (std::abs(factor) < 1.0 && 1.0 / divisor == factor) {
        for (double& sample : samples) sample /= divisor;
    } else {
        for (double& sample : samples) sample *= factor;
    }
}

/// The runs as SelectChannels takes records: names and counts.
std::vector<RecordOutline> OutlinesOf(const RecordingInfo& info) {
    std::vector<RecordOutline> outlines;
    std::size_t number = 0;
    for (const RecordingInfo::Run& run : info.runs) {
        RecordOutline& outline = outlines.emplace_back();
        outline.fields.mode = CComDataBase::MODE_SPACING;
        outline.fields.delta = 1.0;
        outline.fields.colNames.resize(1);
        outline.nsamp = run.samples;
        for (const RecordingInfo::Channel& channel : run.channels) {
            ++number;
            outline.fields.rowNames.push_back(channel.name.empty() ? L"ch" + std::to_wstring(number)
                                                                   : channel.name);
        }
    }
    return outlines;
}

constexpr const char* kNoSampleValue = "the sample holds no value";

/// A recording with what was stated of it; its samples become those of the standard units as they pass.
class RecordingSignal : public SignalReader {
public:
    RecordingSignal(std::unique_ptr<RecordingReader> recording, const ChannelChoice& choice,
                    const RecordingStatements& statements, const SignalKinds& kinds)
        : recording_(std::move(recording)), kinds_(kinds) {
        const double fullScale = statements.fullScale.value_or(1.0);
        if (!(fullScale > 0.0) || !std::isfinite(fullScale))
            throw StatementError(statements.called.fullScale + " is not a number above 0");
        text_ = recording_->Info().text.empty() ? statements.source : recording_->Info().text;
        remarks_ = recording_->Info().remarks;
        properties_ = recording_->Info().properties;
        const std::vector<Channel> chosen = SelectChannels(OutlinesOf(recording_->Info()), choice);
        std::vector<Settled> channels = SettleChannels(chosen, statements);
        std::vector<std::size_t> firstColumns;  // of the channels of the run
        for (std::size_t c = 0; c < chosen.size(); ++c) {
            if (c == 0 || chosen[c].record != sources_.back().run) {
                AddRun(chosen[c].record, statements);
                firstColumns = FirstColumns(Recorded(runs_.size() - 1));
            }
            sources_.back().columns.push_back(firstColumns[static_cast<std::size_t>(chosen[c].row)]);
            sources_.back().scales.push_back(channels[c].scale);
            runs_.back().channels.push_back(std::move(channels[c].channel));
        }
    }

    std::size_t Read(std::size_t run, std::span<double* const> targets, std::size_t room) override {
        const std::size_t columns = run < runs_.size() ? runs_[run].Columns() : 0;
        RequireChannels({targets.data(), targets.size()}, columns, room);
        const Source& source = sources_[run];
        std::vector<double*> all(CountColumns(Recorded(run)), nullptr);
        std::vector<std::size_t> first;  // of the columns of each channel
        std::size_t column = 0;
        if (runs_[run].isListed) all[0] = targets[column++];
        for (std::size_t c = 0; c < source.columns.size(); ++c) {
            first.push_back(column);
            all[source.columns[c]] = targets[column++];
            if (runs_[run].channels[c].isComplex) all[source.columns[c] + 1] = targets[column++];
        }
        const std::size_t count = recording_->Read(source.run, all, room);
        ForEachInParallel(first.size(), [&](std::size_t c) {
            const SignalRun::Channel& channel = runs_[run].channels[c];
            const std::size_t parts = channel.isComplex ? 2 : 1;
            for (std::size_t part = 0; part < parts; ++part)
                ToStandard(channel, source.scales[c], source.columns[c], {targets[first[c] + part], count});
        });
        return count;
    }

    void Skip(std::size_t run, __int64 count) override {
        RequireRun(run, runs_.size());
        recording_->Skip(sources_[run].run, count);
    }

private:
    /// Where the samples of a run come from.
    struct Source {
        std::size_t run;
        std::vector<std::size_t> columns = {};  ///< per channel, that of its (real) samples
        std::vector<double> scales = {};        ///< per channel, to its unit
    };

    const RecordingInfo::Run& Recorded(std::size_t run) const {
        return recording_->Info().runs[sources_[run].run];
    }

    /// The first column of each channel of a run in the recording.
    static std::vector<std::size_t> FirstColumns(const RecordingInfo::Run& run) {
        std::vector<std::size_t> columns;
        std::size_t column = run.axis.isListed ? 1 : 0;
        for (const RecordingInfo::Channel& channel : run.channels) {
            columns.push_back(column);
            column += channel.isComplex ? 2 : 1;
        }
        return columns;
    }

    void AddRun(std::size_t number, const RecordingStatements& statements) {
        const RecordingInfo::Run& recorded = recording_->Info().runs[number];
        sources_.push_back({number});
        SignalRun& run = runs_.emplace_back();
        run.record = number + 1;
        run.samples = recorded.samples;
        RecordedAxis recordedAxis = recorded.axis;
        if (!recordedAxis.unknownUnit.empty()) TakeUnknownAxis(number, statements, &recordedAxis);
        run.axisUnit = recordedAxis.unit;
        run.title = recorded.title;
        run.start = recorded.start;
        run.isListed =
            recordedAxis.isListed && !(statements.rateHz && recordedAxis.unit == CUnitCtrl::DIM_TIME);
        if (!run.isListed) {
            EvenAxis axis = SettleAxis(recordedAxis, statements.rateHz, statements.called.rate);
            run.delta = axis.delta;
            run.offset = axis.offset;
            std::ranges::move(axis.remarks, std::back_inserter(remarks_));
        }
    }

    /// An axis in what is no unit is one of plain numbers, unless a rate is stated: then it is the time.
    void TakeUnknownAxis(std::size_t number, const RecordingStatements& statements, RecordedAxis* axis) {
        if (statements.rateHz) {
            axis->unit = CUnitCtrl(CUnitCtrl::DIM_TIME);
            axis->delta = 0.0;
            axis->stamps.reset();
            return;
        }
        constexpr std::size_t kMost = 8;
        if (std::ranges::find(unknownAxes_, axis->unknownUnit) != unknownAxes_.end() ||
            unknownAxes_.size() > kMost)
            return;
        unknownAxes_.push_back(axis->unknownUnit);
        if (unknownAxes_.size() > kMost)
            return remarks_.push_back("further axes in what is no unit are plain numbers, too");
        remarks_.push_back(
            "the axis of record " + std::to_string(number + 1) + " is in " + Quote(axis->unknownUnit) +
            ", which is no unit that is known for one, so its places are plain numbers; if they "
            "are times, give the sampling rate with " +
            statements.called.rate);
    }

    /// Turns samples of a channel, whose column in the recording is `column`, into those of the standard
    /// unit.
    void ToStandard(const SignalRun::Channel& channel, double scale, std::size_t column,
                    std::span<double> samples) const {
        if (recording_->AreKnownValues() && scale == 1.0 && IsStandard(channel)) return;
        // Few enough at a time that each step finds them in the first-level cache.
        constexpr std::size_t kAtOnce = std::size_t{1} << 11;
        for (std::size_t begin = 0; begin < samples.size(); begin += kAtOnce) {
            const auto piece = samples.subspan(begin, std::min(kAtOnce, samples.size() - begin));
            ToStandard(channel, scale, column, begin, piece);
        }
    }

    /// Whether the unit of a channel is the standard one. No curve meets the values in three points.
    static bool IsStandard(const SignalRun::Channel& channel) {
        return std::ranges::all_of(std::array{0.0, 1.0, 2.0}, [&](double value) {
            return channel.unit.ConvItoD(value, 1.0, IsAbsolute(channel)) == value;
        });
    }
    static int IsAbsolute(const SignalRun::Channel& channel) {
        return !channel.isComplex && channel.unit.IsSingle() ? 1 : 0;
    }

    void ToStandard(const SignalRun::Channel& channel, double scale, std::size_t column, std::size_t begin,
                    std::span<double> samples) const {
        std::vector<std::size_t> missing;
        if (!recording_->AreKnownValues() && !AreValues(samples)) {
            for (std::size_t i = 0; i < samples.size(); ++i)
                if (samples[i] == kNoValue<double>) missing.push_back(i);
        }
        if (!missing.empty() && !kinds_.missing) {
            throw recording_->ErrorAt(column, begin + missing.front(), ErrorKind::kUnsupported,
                                      kNoSampleValue);
        }
        Multiply(samples, scale);
        channel.unit.ConvItoD(samples.data(), samples.data(), std::ssize(samples), 1.0, IsAbsolute(channel));
        for (const std::size_t at : missing) samples[at] = 0.0;
        RequireStorable(channel, column, begin, samples);
        for (const std::size_t at : missing) samples[at] = kNoValue<double>;
    }

    void RequireStorable(const SignalRun::Channel& channel, std::size_t column, std::size_t begin,
                         std::span<const double> samples) const {
        if (AreValues(samples)) return;
        const auto bad = std::ranges::find_if_not(samples, [](double v) { return AreValues({&v, 1}); });
        throw recording_->ErrorAt(
            column, begin + static_cast<std::size_t>(bad - samples.begin()), ErrorKind::kUnsupported,
            std::isfinite(*bad) ? kNoSampleValue
                                : "the value overflows in conversion from " + Quote(UnitText(channel.unit)) +
                                      " to the standard unit");
    }

    /// A chosen channel and what its values are multiplied by to be in its unit.
    struct Settled {
        SignalRun::Channel channel;
        double scale;
    };

    std::vector<Settled> SettleChannels(const std::vector<Channel>& chosen,
                                        const RecordingStatements& statements) {
        Channels channels;
        for (const Channel& channel : chosen)
            channels.push_back({channel.name, {}, channel.number, OwnOf(channel).isComplex});
        StateNames(statements, &channels);
        const StatementNames& called = statements.called;
        RequireOneOrEach(statements.units, called.units, chosen.size());
        RequireOneOrEach(statements.sensitivities, called.sensitivities, chosen.size());
        RequireOneOrEach(statements.gains, called.gains, chosen.size());
        std::vector<Settled> settled;
        for (std::size_t c = 0; c < chosen.size(); ++c) {
            const EntryUnit unit =
                SettleUnit(chosen[c], StatedOf(statements.units, c), channels[c].name, called);
            channels[c].unit = unit.unit;
            settled.push_back({channels[c], unit.scale});
            if (recording_->Info().hasFullScale) settled[c].scale *= statements.fullScale.value_or(1.0);
            if (const double* gain = StatedOf(statements.gains, c)) TakeGain(*gain, called, &settled[c]);
            if (const Sensitivity* sensor = StatedOf(statements.sensitivities, c))
                TakeSensitivity(*sensor, called, &settled[c]);
        }
        return settled;
    }

    const RecordingInfo::Channel& OwnOf(const Channel& channel) const {
        return recording_->Info().runs[channel.record].channels[static_cast<std::size_t>(channel.row)];
    }

    /// The unit that is stated, else that of the file, with a remark where another one stands for it.
    EntryUnit SettleUnit(const Channel& channel, const std::optional<EntryUnit>* stated,
                         const std::wstring& name, const StatementNames& called) {
        const RecordingInfo::Channel& own = OwnOf(channel);
        EntryUnit unit(own.unit.value_or(CUnitCtrl()));
        unit.scale = own.scale;
        unit.converted = own.convertedUnit;
        const bool isStated = stated != nullptr && stated->has_value();
        if (isStated) unit = **stated;
        if (!isStated && !own.unitRemark.empty()) remarks_.push_back(own.unitRemark);
        if (const double gravity = GravityOf(unit.unit); gravity != 0.0 && !own.isComplex) {
            SettleGravity(recording_->Info().runs[channel.record], gravity, isStated, name, called, &unit);
        } else if (isStated) {
            // Nothing is said of the file's.
        } else if (!own.unknownUnit.empty()) {
            remarks_.push_back("the unit " + Quote(own.unknownUnit) + " of channel " + Quote(name) +
                               " is not known, so its values are plain numbers; give it with " +
                               called.units);
        }
        if (!unit.converted.empty()) {
            remarks_.push_back("the unit " + Quote(unit.converted) + " of channel " + Quote(name) +
                               " becomes " + Quote(UnitText(unit.unit)));
        }
        return unit;
    }

    /// What a unit of mass that is spelled like a part of the acceleration of gravity is of that; else 0.
    static double GravityOf(const CUnitCtrl& unit) {
        if (!unit.IsSingle() || UnitParts(unit).front().calc != CUnitCtrl::CALC_PLAIN) return 0.0;
        const CUnitCtrl::UNIT_CODE code = UnitParts(unit).front().unit;
        return code == units::kMilligram ? 1e-3 : code == units::kMicrogram ? 1e-6 : 0.0;
    }

    /// "mg" of a channel of accelerations is milli-g: where its name or another channel says so. Either way
    /// there is a remark.
    void SettleGravity(const RecordingInfo::Run& run, double gravity, bool isStated, const std::wstring& name,
                       const StatementNames& called, EntryUnit* unit) {
        const std::string text = UnitText(unit->unit);
        const std::string other = gravity == 1e-3 ? "milli-g" : "micro-g";
        const auto isOf = [](CUnitCtrl::DIM_CODE dimension) {
            return [dimension](const RecordingInfo::Channel& channel) {
                return channel.unit && *channel.unit == dimension && GravityOf(*channel.unit) == 0.0;
            };
        };
        const bool isNamed = name.find(L"acc") != name.npos || name.find(L"Acc") != name.npos ||
                             name.find(L"ACC") != name.npos;
        const bool isBeside = std::ranges::any_of(run.channels, isOf(CUnitCtrl::DIM_ACCELERATION)) &&
                              std::ranges::none_of(run.channels, isOf(CUnitCtrl::DIM_MASS));
        if (isStated || !(isNamed || isBeside)) {
            remarks_.push_back("the unit " + Quote(text) + " of channel " + Quote(name) +
                               " is that of a mass; " + called.units + " " + other +
                               " makes it an acceleration");
            return;
        }
        *unit = EntryUnit(SingleUnit(units::kStandardGravity));
        unit->scale = gravity;
        remarks_.push_back("the unit " + Quote(text) + " of channel " + Quote(name) + " is taken for " +
                           other + ", " +
                           (isNamed ? "as its name tells" : "for accelerations stand beside it") +
                           ", and becomes 'g'; " + called.units + " " + text + " makes it a mass");
    }

    static void TakeGain(double gain, const StatementNames& called, Settled* settled) {
        if (gain == 0.0 || !std::isfinite(gain))
            throw StatementError(called.gains + " gives " + FormatNumber(gain) +
                                 ", by which nothing divides");
        settled->scale /= gain;
    }

    void TakeSensitivity(const Sensitivity& sensor, const StatementNames& called, Settled* settled) {
        CUnitCtrl& unit = settled->channel.unit;
        if (unit == CUnitCtrl::DIM_NONE) {
            unit = CUnitCtrl(DimensionOf(sensor.electrical));
            remarks_.push_back("channel " + Quote(settled->channel.name) +
                               " has no unit, so its values are taken as " + UnitText(unit));
        }
        if (!IsConvertible(unit, sensor.electrical)) {
            throw StatementError(called.sensitivities + ": channel " + Quote(settled->channel.name) +
                                 " is in " + Quote(UnitText(unit)) + ", which does not convert to " +
                                 Quote(UnitText(sensor.electrical)));
        }
        settled->scale *= ConvertValue(1.0, unit, sensor.electrical) / sensor.value;
        unit = sensor.physical;
    }

    std::unique_ptr<RecordingReader> recording_;
    SignalKinds kinds_;
    std::vector<Source> sources_;  ///< per run
    std::vector<std::wstring> unknownAxes_;
};

}  // namespace

void RequireNothingStated(const RecordingStatements& stated) {
    if (!stated.rateHz && stated.units.empty() && stated.names.empty() && stated.sensitivities.empty() &&
        stated.gains.empty() && !stated.fullScale && !stated.isPartial && stated.text.Stated().empty()) {
        return;
    }
    throw Error(ErrorKind::kUnsupported, "a data file knows its rate, units and names; the " +
                                             stated.called.any +
                                             " that state them are for files of other formats");
}

std::size_t SignalRun::Columns() const {
    std::size_t columns = isListed ? 1 : 0;
    for (const Channel& channel : channels) columns += channel.isComplex ? 2 : 1;
    return columns;
}

bool SignalRun::IsWaveform() const {
    return !isListed && axisUnit == CUnitCtrl::DIM_TIME &&
           std::ranges::none_of(channels, &Channel::isComplex);
}

void SignalReader::Skip(std::size_t run, __int64 count) {
    constexpr std::size_t kRoom = std::size_t{1} << 14;
    RequireRun(run, runs_.size());
    std::vector<std::vector<double>> samples(runs_[run].Columns(), std::vector<double>(kRoom));
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

WrittenRun::WrittenRun(const SignalRun& run) : columns_(run.Columns()), left_(run.samples) {
    if (run.channels.empty() || left_ < 1)
        throw Error(ErrorKind::kBadValue, "there are no channels or no samples to write");
    RequireAxis(run);
}

void RequireAxis(const SignalRun& run) {
    if (run.isListed || IsEvenAxis(run.delta, run.offset, run.samples)) return;
    throw Error(ErrorKind::kBadValue, "a spacing of " + FormatNumber(run.delta) + " " +
                                          UnitText(CUnitCtrl(DimensionOf(run.axisUnit))) + " makes no " +
                                          std::string(DimensionText(DimensionOf(run.axisUnit))) + " axis");
}

const SignalRun& SingleRun(const std::vector<SignalRun>& runs, const std::string& format,
                           const StatementNames& called) {
    if (runs.size() == 1) return runs.front();
    throw Error(ErrorKind::kUnsupported, format + " holds one record; choose it with " + called.record);
}

void WrittenRun::Add(std::size_t run, std::span<double* const> channels, std::size_t count) {
    RequireChannels({channels.data(), channels.size()}, run == 0 ? columns_ : 0, count);
    if (count > static_cast<std::uint64_t>(left_))
        throw Error(ErrorKind::kBadValue, "there are more samples than the run has");
    left_ -= static_cast<__int64>(count);
}

void WrittenRun::RequireAll() const {
    if (left_ > 0) throw Error(ErrorKind::kBadValue, "not all of its samples were written");
}

std::vector<std::string> TextOptions::Stated() const {
    const std::pair<bool, std::string> all[] = {
        {firstColumnIsTime.has_value() || !axisColumn.empty(), called.time},
        {axis.has_value(), called.axis},
        {spacing.has_value(), called.spacing},
        {keepsUneven, called.uneven},
        {decimalComma, called.decimal},
        {separator != 0, called.separator},
        {skippedLines > 0, called.skip},
        {comments != TextOptions().comments, called.comment},
        {missing.has_value(), called.missing},
        {dateOrder.has_value(), called.dates},
        {codePage != 0, encodingName},
    };
    std::vector<std::string> names;
    for (const auto& [isStated, name] : all) {
        if (isStated) names.push_back(name);
    }
    return names;
}

StatementError::StatementError(std::string sentence) : Error(ErrorKind::kBadValue, std::move(sentence)) {}

std::unique_ptr<SignalReader> SettleSignal(std::unique_ptr<RecordingReader> recording,
                                           const ChannelChoice& choice, const RecordingStatements& statements,
                                           const SignalKinds& kinds) {
    if (!recording) throw Error(ErrorKind::kBadValue, "there is no recording");
    auto signal = std::make_unique<RecordingSignal>(std::move(recording), choice, statements, kinds);
    if (kinds.anyRun) return signal;
    for (const SignalRun& run : signal->Runs()) {
        if (run.IsWaveform()) continue;
        const bool isUneven = run.isListed && run.axisUnit == CUnitCtrl::DIM_TIME;
        RecordOutline outline;
        outline.fields.hunit = run.axisUnit;
        outline.isComplex = std::ranges::any_of(run.channels, &SignalRun::Channel::isComplex);
        throw Error(ErrorKind::kUnsupported,
                    "record " + std::to_string(run.record) + " is not a time waveform" +
                        (isUneven ? ": its samples are not evenly spaced"
                                  : " but " +
                                        std::string(outline.isComplex ||
                                                            outline.fields.hunit == CUnitCtrl::DIM_FREQUENCY
                                                        ? "a "
                                                        : "") +
                                        std::string(RecordType(outline))));
    }
    return signal;
}

std::unique_ptr<SignalReader> OpenSignal(const std::string& path, const ChannelChoice& choice,
                                         const RecordingStatements& statements,
                                         const ProgressFunction& progress, const SignalKinds& kinds) {
    if (RecognizeFile(path).format == Format::dataFile) {
        RequireNothingStated(statements);
        return OpenDataFileSignal(path, choice, kinds, statements.called);
    }
    RecordingStatements stated = statements;
    if (stated.source.empty()) {
        stated.source = FromUtf8(std::filesystem::path(path).filename().string()).value_or(L"");
    }
    return SettleSignal(OpenRecording(path, stated, progress), choice, stated, kinds);
}

}  // namespace kvx
