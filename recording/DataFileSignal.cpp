// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>

#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/files/DataFileStream.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitText.h>
#include <KvxRecording01/detail/SignalFiles.h>

namespace kvx {
namespace {

class DataFileSignal : public SignalReader {
public:
    DataFileSignal(const std::string& path, const ChannelChoice& choice) : file_(WidePath(path)) {
        text_ = file_.Head().header.GetName();
        const std::vector<RecordOutline>& records = file_.Records();
        for (Channel& channel : SelectChannels(records, choice)) {
            const RecordOutline& record = records[channel.record];
            RequireWaveform(record, channel.record);
            if (channels_.empty() || channels_.back().front().record != channel.record) {
                runs_.push_back(
                    {channel.record + 1, record.fields.delta, record.fields.offset, record.nsamp, {}});
                channels_.emplace_back();
            }
            runs_.back().channels.push_back({channel.name, record.fields.unit, channel.number});
            channels_.back().push_back(std::move(channel));
        }
    }

    std::size_t Read(std::size_t run, std::span<double* const> targets, std::size_t room) override {
        RequireChannels({targets.data(), targets.size()}, run < runs_.size() ? runs_[run].channels.size() : 0,
                        room);
        Enter(run);
        const __int64 left = runs_[run].samples - done_;
        const auto count =
            static_cast<std::size_t>(std::min(std::uint64_t{room}, static_cast<std::uint64_t>(left)));
        for (std::size_t c = 0; c < targets.size() && count > 0; ++c) {
            file_.ReadReal(PlaceOf(channels_[run][c], done_), {targets[c], count});
            RequireValues({targets[c], count}, channels_[run][c].name, done_);
        }
        done_ += static_cast<__int64>(count);
        return count;
    }

    void Skip(std::size_t run, __int64 count) override {
        if (run >= runs_.size()) throw Error(ErrorKind::kBadValue, "there is no such run");
        Enter(run);
        done_ += std::min(std::max<__int64>(0, count), runs_[run].samples - done_);
    }

private:
    void Enter(std::size_t run) {
        if (run == run_) return;
        run_ = run;
        done_ = 0;
    }

    DataFileReader file_;
    std::vector<std::vector<Channel>> channels_;  ///< per run and channel
    std::size_t run_ = 0;
    __int64 done_ = 0;  ///< samples of the run that were read
};

// ---- writing ----

class DataFileSignalWriter : public SignalWriter {
public:
    DataFileSignalWriter(const std::string& path, const std::vector<SignalRun>& runs,
                         const std::wstring& text)
        : records_(LayOut(runs)),
          file_(WidePath(path), CComHdr(CComHdr::EXT_INFO_VIB_DATA, text.c_str()), records_),
          done_(runs.size()) {}

    void Write(std::size_t run, std::span<double* const> channels, std::size_t count) override {
        RequireChannels({channels.data(), channels.size()}, run < places_.size() ? places_[run].size() : 0,
                        count);
        for (std::size_t c = 0; c < channels.size(); ++c) {
            const auto [record, row] = places_[run][c];
            file_.WriteReal({record, row, 0, done_[run]}, {channels[c], count});
        }
        done_[run] += static_cast<__int64>(count);
    }

    void Commit() override { file_.Commit(); }

    std::vector<RecordOutline> Records() const override { return records_; }

private:
    struct Place {
        __int64 record;
        __int64 row;
    };

    std::vector<RecordOutline> LayOut(const std::vector<SignalRun>& runs) {
        std::vector<RecordOutline> records;
        for (const SignalRun& run : runs) AddRun(run, &records);
        return records;
    }

    /// Gives each channel a row in the record of its unit, and appends those records.
    void AddRun(const SignalRun& run, std::vector<RecordOutline>* records) {
        if (run.samples > std::numeric_limits<std::int32_t>::max()) {
            throw Error(ErrorKind::kUnsupported,
                        "a record holds at most 2147483647 samples per channel, this has " +
                            std::to_string(run.samples));
        }
        if (!IsEvenAxis(run.delta, run.offset, run.samples)) {
            throw Error(ErrorKind::kBadValue,
                        "a spacing of " + FormatNumber(run.delta) + " s makes no time axis");
        }
        const std::size_t first = records->size();
        std::vector<Place>& places = places_.emplace_back();
        for (const SignalRun::Channel& channel : run.channels) {
            const std::wstring unit = PlainUnitName(channel.unit);
            auto record =
                std::find_if(records->begin() + static_cast<std::ptrdiff_t>(first), records->end(),
                             [&](const RecordOutline& r) { return PlainUnitName(r.fields.unit) == unit; });
            if (record == records->end()) {
                RecordOutline outline;
                outline.fields.mode = CComDataBase::MODE_SPACING;
                outline.fields.hunit = SingleUnit(kAxisMilliseconds);
                outline.fields.unit = channel.unit;
                outline.fields.delta = run.delta;
                outline.fields.offset = run.offset;
                outline.cols = 1;
                outline.fields.colNames.resize(1);  // one column, without a name
                outline.nsamp = run.samples;
                record = records->insert(records->end(), std::move(outline));
            }
            places.push_back({record - records->begin(), record->rows++});
            record->fields.rowNames.push_back(channel.name);
        }
    }

    std::vector<std::vector<Place>> places_;  ///< per run and channel
    std::vector<RecordOutline> records_;
    DataFileWriter file_;
    std::vector<__int64> done_;  ///< samples written per run
};

}  // namespace

std::unique_ptr<SignalReader> OpenDataFileSignal(const std::string& path, const ChannelChoice& choice) {
    return std::make_unique<DataFileSignal>(path, choice);
}

std::unique_ptr<SignalWriter> CreateDataFileSignal(const std::string& path,
                                                   const std::vector<SignalRun>& runs,
                                                   const SignalFileOptions& options) {
    return std::make_unique<DataFileSignalWriter>(path, runs, options.text);
}

}  // namespace kvx
