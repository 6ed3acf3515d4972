// SPDX-License-Identifier: MIT
#include "commands/Signal.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <system_error>
#include <utility>

#include <KvxDevCommon01/files/DataFileStream.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxRecording01/FileContent.h>
#include <KvxRecording01/Recording.h>
#include <KvxRecording01/SoundFile.h>
#include <KvxRecording01/TextLines.h>
#include <KvxRecording01/TextTable.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/StandardStreams.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

// ---- text tables and sound files ----

/// Unlike a pipe, a regular file can be looked at and then read from its start.
bool IsRegularFile(const std::string& path) {
    std::error_code ignored;
    return std::filesystem::is_regular_file(path, ignored);
}

FileContent ReadContent(const std::string& path) {
    InputFile file(WidePath(path));
    std::string begin(kContentBytes, '\0');
    begin.resize(file.Read(begin.data(), begin.size()));
    return RecognizeContent(begin);
}

std::unique_ptr<RecordingReader> OpenFile(const std::string& path, const RecordingOptions& options,
                                          bool isForSound, Progress& progress) {
    if (IsRegularFile(path)) {
        if (const std::optional<SoundFormat> format = ReadContent(path).sound) {
            for (const auto& [option, value] : {std::pair("--time", &options.time),
                                                {"--decimal", &options.decimal},
                                                {"--encoding", &options.encoding}}) {
                if (*value != "auto")
                    throw Error(ErrorKind::kBadValue, option + std::string(" is for texts"));
            }
            return OpenSoundFile(path, *format, options.isPartial);
        }
    }
    if (options.fullScale && !isForSound)
        throw Error(ErrorKind::kBadValue, "--full-scale is for sound files");
    if (options.isPartial) throw Error(ErrorKind::kBadValue, "--partial is for sound files");
    TextOptions text;
    if (options.time != "auto") text.firstColumnIsTime = options.time == "first";
    text.decimalComma = options.decimal == "comma";
    text.codePage = CodePageOf(options.encoding);
    return OpenTextTable(OpenTextFile(path, text.codePage), text, progress.Function());
}

class RecordingSignal : public SignalReader {
public:
    RecordingSignal(std::unique_ptr<RecordingReader> recording, const std::string& path,
                    const std::string& channels, const RecordingOptions& options)
        : recording_(std::move(recording)),
          scale_(recording_->Info().hasFullScale ? options.fullScale.value_or(1.0) : 1.0) {
        text_ = FromUtf8(std::filesystem::path(SourceText(path)).filename().string()).value_or(L"");
        std::vector<std::string> notes = recording_->Info().remarks;
        SignalRun run;
        run.samples = recording_->Info().samples;
        run.channels = SettleChannels(channels, options, &notes);
        const TimeAxis axis = SettleAxis(recording_->Info(), options.rateHz, options.rateName, &notes);
        run.delta = 1.0 / axis.rateHz;
        run.offset = axis.offset;
        runs_.push_back(std::move(run));
        for (const std::string& note : notes) Note(note);
    }

    std::size_t Read(std::size_t, std::span<double* const> targets, std::size_t room) override {
        const std::vector<SignalRun::Channel>& channels = runs_.front().channels;
        std::vector<double*> all(recording_->Info().channels.size(), nullptr);
        for (std::size_t c = 0; c < channels.size(); ++c) all[channels[c].number - 1] = targets[c];
        const std::size_t count = recording_->Read(all, room);
        for (std::size_t c = 0; c < channels.size(); ++c) {
            for (std::size_t i = 0; i < count; ++i) targets[c][i] *= scale_;
            const CUnitCtrl& unit = channels[c].unit;
            unit.ConvItoD(targets[c], targets[c], static_cast<__int64>(count), 1.0, unit.IsSingle());
            RequireStorable(channels[c], {targets[c], count});
        }
        return count;
    }

private:
    void RequireStorable(const SignalRun::Channel& channel, std::span<const double> samples) const {
        const auto bad = std::ranges::find_if(
            samples, [](double v) { return v == kNoValue<double> || !std::isfinite(v); });
        if (bad == samples.end()) return;
        throw Error(ErrorKind::kBadValue,
                    recording_->Place(channel.number - 1, static_cast<std::size_t>(bad - samples.begin())) +
                        (std::isfinite(*bad) ? ": the value is reserved as the marker of missing samples"
                                             : ": the value overflows in conversion from " +
                                                   Quote(UnitText(channel.unit)) + " to the standard unit"));
    }

    /// The chosen channels with their names and units.
    std::vector<SignalRun::Channel> SettleChannels(const std::string& choice, const RecordingOptions& options,
                                                   std::vector<std::string>* notes) const {
        const std::vector<RecordingInfo::Channel>& channels = recording_->Info().channels;
        std::vector<std::wstring> names;
        for (const RecordingInfo::Channel& channel : channels) {
            names.push_back(channel.name.empty() ? L"ch" + std::to_wstring(names.size() + 1) : channel.name);
        }
        std::vector<SignalRun::Channel> chosen;
        for (const std::size_t at : ChooseChannels(choice, names)) {
            chosen.push_back({names[at], channels[at].unit.value_or(CUnitCtrl()), at + 1});
        }
        if (!options.names.empty()) {
            const std::vector<std::string> given = SplitList(options.names);
            if (given.size() != chosen.size()) {
                throw ValueError("--name gives " + Count(std::ssize(given), "name") + " for " +
                                 Count(std::ssize(chosen), "channel"));
            }
            for (std::size_t c = 0; c < chosen.size(); ++c) {
                chosen[c].name = FromUtf8(given[c]).value_or(L"");
                if (chosen[c].name.empty())
                    throw ValueError("the name " + Quote(given[c]) + " is empty or not UTF-8");
            }
        }
        if (!options.units.empty()) {
            const std::vector<std::string> given = SpreadList("--unit", options.units, chosen.size());
            for (std::size_t c = 0; c < chosen.size(); ++c) chosen[c].unit = RequireUnit(given[c]);
            return chosen;
        }
        for (const SignalRun::Channel& channel : chosen) {
            const std::wstring& unknown = channels[channel.number - 1].unknownUnit;
            if (unknown.empty()) continue;
            notes->push_back("the unit " + Quote(unknown) + " of channel " + Quote(channel.name) +
                             " is not known, so its values are plain numbers; give it with --unit");
        }
        return chosen;
    }

    std::unique_ptr<RecordingReader> recording_;
    double scale_;
};

// ---- data files ----

class DataFileSignal : public SignalReader {
public:
    DataFileSignal(const std::string& path, const ChannelOptions& options) : file_(WidePath(path)) {
        text_ = file_.Head().header.GetName();
        const std::vector<RecordOutline>& records = file_.Records();
        for (Channel& channel : SelectChannels(ListChannels(records), records.size(), options)) {
            const RecordOutline& record = records[channel.record];
            RequireWaveform(record, channel.record);
            if (cells_.empty() || cells_.back().front().record != channel.record) {
                runs_.push_back(
                    {channel.record + 1, record.fields.delta, record.fields.offset, record.nsamp, {}});
                cells_.emplace_back();
            }
            runs_.back().channels.push_back({channel.name, record.fields.unit, channel.number});
            cells_.back().push_back(std::move(channel));
        }
    }

    std::size_t Read(std::size_t run, std::span<double* const> targets, std::size_t room) override {
        if (run != run_) {
            run_ = run;
            done_ = 0;
        }
        const __int64 count = std::min(static_cast<__int64>(room), runs_[run].samples - done_);
        for (std::size_t c = 0; c < targets.size() && count > 0; ++c) {
            const Channel& cell = cells_[run][c];
            file_.ReadReal({static_cast<__int64>(cell.record), cell.row, cell.column, done_},
                           {targets[c], static_cast<std::size_t>(count)});
            RequireValues(targets[c], count, cell.name, done_);
        }
        done_ += count;
        return static_cast<std::size_t>(count);
    }

private:
    DataFileReader file_;
    std::vector<std::vector<Channel>> cells_;  ///< per run and channel
    std::size_t run_ = 0;
    __int64 done_ = 0;  ///< samples of the run that were read
};

}  // namespace

void AddRecordingOptions(Command& command, RecordingOptions* options) {
    command
        .AddOption(options->rateName, options->rateHz,
                   "True sampling rate; without it that of the sound file or the time column")
        .Type("HZ")
        .Check(PositiveNumber());
    command.AddOption("--unit", options->units, "Unit of the values, one for all channels or a list: g,g,N")
        .Type("LIST");
    command.AddOption("--name", options->names, "Names of the channels: top,base").Type("LIST");
    command
        .AddOption("--full-scale", options->fullScale,
                   "What full scale of a sound file stands for, in its unit")
        .Type("VALUE")
        .Check(PositiveNumber());
    command.AddOption("--time", options->time, "Where a text has the time: in its first column or nowhere")
        .Type("WHICH")
        .OneOf({"auto", "first", "none"});
    command.AddOption("--decimal", options->decimal, "Decimal mark of a text; a comma then separates nothing")
        .Type("MARK")
        .OneOf({"auto", "comma"});
    command
        .AddOption("--encoding", options->encoding,
                   "Encoding of a text; without it UTF-8 or what a byte-order mark says")
        .Type("NAME")
        .OneOf(EncodingNames());
    command.AddFlag("--partial", options->isPartial, "Take a sound file that is cut short as far as it goes");
}

std::unique_ptr<SignalReader> OpenRecording(const std::string& path, const std::string& channels,
                                            const RecordingOptions& options, bool isForSound,
                                            Progress& progress) {
    return std::make_unique<RecordingSignal>(OpenFile(InputPath(path), options, isForSound, progress), path,
                                             channels, options);
}

std::unique_ptr<SignalReader> OpenSignal(const std::string& path, const ChannelOptions& channels,
                                         const RecordingOptions& options, bool isForSound,
                                         Progress& progress) {
    const std::string file = InputPath(path);
    if (IsRegularFile(file) && CComHdr::GetHdrCodeType(WidePath(file).c_str()) != CComHdr::HDRCODE_UNKNOWN) {
        const bool isStated = options.rateHz || !options.units.empty() || !options.names.empty() ||
                              options.time != "auto" || options.decimal != "auto" ||
                              options.encoding != "auto" || options.isPartial;
        if (isStated || (options.fullScale && !isForSound)) {
            throw Error(ErrorKind::kBadValue,
                        "a data file knows its rate, units and names; the options that state them are for "
                        "text and sound files");
        }
        return std::make_unique<DataFileSignal>(file, channels);
    }
    if (channels.record > 0) throw Error(ErrorKind::kBadValue, "--record is for data files");
    return OpenRecording(path, channels.channels, options, isForSound, progress);
}

}  // namespace kvx::tool
