// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <utility>

#include <KvxDevCommon01/files/DataFileStream.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxRecording01/detail/RecordLayout.h>
#include <KvxRecording01/detail/SignalFiles.h>

namespace kvx {
namespace {

class DataFileSignal : public SignalReader {
public:
    DataFileSignal(const std::string& path, const ChannelChoice& choice, const SignalKinds& kinds,
                   const StatementNames& called)
        : file_(WidePath(path)), kinds_(kinds) {
        text_ = file_.Head().header.GetName();
        const std::vector<RecordOutline>& records = file_.Records();
        const std::vector<Channel> chosen = SelectChannels(records, choice);
        std::optional<std::size_t> before;
        for (const Channel& channel : chosen) {
            const RecordOutline& record = records[channel.record];
            if (channel.record != before) {
                before = channel.record;
                if (!kinds.anyRun) RequireWaveform(record, channel.record);
                if (!kinds.isJoined || runs_.empty()) {
                    AddRun(record, channel.record);
                } else {
                    RequireSameAxis(channels_.back().front().record, channel.record, called);
                }
            }
            runs_.back().channels.push_back(
                {channel.name, record.fields.unit, channel.number, record.isComplex});
            channels_.back().push_back(channel);
        }
    }

    std::size_t Read(std::size_t run, std::span<double* const> targets, std::size_t room) override {
        RequireChannels({targets.data(), targets.size()}, run < runs_.size() ? runs_[run].Columns() : 0,
                        room);
        Enter(run);
        const __int64 left = runs_[run].samples - done_;
        const auto count =
            static_cast<std::size_t>(std::min(std::uint64_t{room}, static_cast<std::uint64_t>(left)));
        if (count == 0) return 0;
        std::size_t column = 0;
        if (runs_[run].isListed) ReadAxis(channels_[run].front().record, {targets[column++], count});
        for (std::size_t c = 0; c < channels_[run].size(); ++c) {
            const Channel& channel = channels_[run][c];
            const std::span real(targets[column++], count);
            file_.ReadReal(PlaceOf(channel, done_), real);
            if (!kinds_.missing) RequireValues(real, channel.name, done_);
            if (!runs_[run].channels[c].isComplex) continue;
            const std::span imaginary(targets[column++], count);
            file_.ReadImaginary(PlaceOf(channel, done_), imaginary);
            if (!kinds_.missing) RequireValues(imaginary, channel.name, done_);
        }
        done_ += static_cast<__int64>(count);
        return count;
    }

    void Skip(std::size_t run, __int64 count) override {
        RequireRun(run, runs_.size());
        Enter(run);
        done_ += std::min(std::max<__int64>(0, count), runs_[run].samples - done_);
    }

private:
    void AddRun(const RecordOutline& record, std::size_t index) {
        SignalRun& run = runs_.emplace_back();
        run.record = index + 1;
        run.delta = record.fields.delta;
        run.offset = record.fields.offset;
        run.samples = record.nsamp;
        run.axisUnit = record.fields.hunit;
        run.isListed = record.fields.mode == CComDataBase::MODE_AXIS;
        channels_.emplace_back();
    }

    /// Throws Error unless both records have one axis.
    void RequireSameAxis(std::size_t first, std::size_t second, const StatementNames& called) {
        if (HaveSameAxis(file_.Records()[first], file_.Records()[second]) &&
            (file_.Records()[first].fields.mode == CComDataBase::MODE_SPACING ||
             HaveSamePlaces(first, second)))
            return;
        throw Error(ErrorKind::kUnsupported, "records " + std::to_string(first + 1) + " and " +
                                                 std::to_string(second + 1) +
                                                 " differ in their axis; choose one with " + called.record);
    }

    static bool HaveSameAxis(const RecordOutline& a, const RecordOutline& b) {
        const CComDataBase::Fields& first = a.fields;
        const CComDataBase::Fields& second = b.fields;
        if (first.mode != second.mode || a.nsamp != b.nsamp || first.hunit != second.hunit) return false;
        return first.mode != CComDataBase::MODE_SPACING ||
               (first.delta == second.delta && first.offset == second.offset);
    }

    bool HaveSamePlaces(std::size_t first, std::size_t second) {
        constexpr __int64 kBlock = 1 << 16;
        const __int64 samples = file_.Records()[first].nsamp;
        std::vector<double> places[2];
        for (__int64 done = 0; done < samples; done += kBlock) {
            for (const std::size_t record : {first, second}) {
                std::vector<double>& axis = places[record == second];
                axis.resize(static_cast<std::size_t>(std::min(kBlock, samples - done)));
                file_.ReadAxis(static_cast<__int64>(record), done, axis);
            }
            if (places[0] != places[1]) return false;
        }
        return true;
    }

    void ReadAxis(std::size_t record, std::span<double> places) {
        file_.ReadAxis(static_cast<__int64>(record), done_, places);
        const auto bad = std::ranges::find_if(places, [](double place) { return !std::isfinite(place); });
        if (bad == places.end()) return;
        throw Error(
            ErrorKind::kDamaged, "its place on the axis is no number",
            {.record = static_cast<std::int64_t>(record) + 1, .sample = done_ + (bad - places.begin()) + 1});
    }

    void Enter(std::size_t run) {
        if (run == run_) return;
        run_ = run;
        done_ = 0;
    }

    DataFileReader file_;
    SignalKinds kinds_;
    std::vector<std::vector<Channel>> channels_;  ///< per run and channel
    std::size_t run_ = 0;
    __int64 done_ = 0;  ///< samples of the run that were read
};

// ---- writing ----

class DataFileSignalWriter : public SignalWriter {
public:
    DataFileSignalWriter(const std::string& path, const std::vector<SignalRun>& runs,
                         const std::wstring& text)
        : runs_(runs),
          layout_(LayOutRecords(runs)),
          file_(WidePath(path), CComHdr(CComHdr::EXT_INFO_VIB_DATA, text.c_str()), layout_.records),
          done_(runs.size()) {}

    void Write(std::size_t run, std::span<double* const> columns, std::size_t count) override {
        RequireChannels({columns.data(), columns.size()}, run < runs_.size() ? runs_[run].Columns() : 0,
                        count);
        std::size_t column = 0;
        if (runs_[run].isListed) {
            const std::span places(columns[column++], count);
            for (const __int64 record : layout_.RecordsOfRun(run))
                file_.WriteAxis(record, done_[run], places);
        }
        for (std::size_t c = 0; c < runs_[run].channels.size(); ++c) {
            const auto [record, row] = layout_.places[run][c];
            const SamplePlace place = {record, row, 0, done_[run]};
            file_.WriteReal(place, {columns[column++], count});
            if (runs_[run].channels[c].isComplex) file_.WriteImaginary(place, {columns[column++], count});
        }
        done_[run] += static_cast<__int64>(count);
    }

    void Commit() override { file_.Commit(); }

    std::vector<RecordOutline> Records() const override { return layout_.records; }

private:
    std::vector<SignalRun> runs_;
    RecordLayout layout_;
    DataFileWriter file_;
    std::vector<__int64> done_;  ///< samples written per run
};

}  // namespace

std::unique_ptr<SignalReader> OpenDataFileSignal(const std::string& path, const ChannelChoice& choice,
                                                 const SignalKinds& kinds, const StatementNames& called) {
    return std::make_unique<DataFileSignal>(path, choice, kinds, called);
}

std::unique_ptr<SignalWriter> CreateDataFileSignal(const std::string& path,
                                                   const std::vector<SignalRun>& runs,
                                                   const SignalFileOptions& options) {
    return std::make_unique<DataFileSignalWriter>(path, runs, options.text);
}

}  // namespace kvx
