// SPDX-License-Identifier: MIT
#include <KvxRecording01/SignalRecords.h>

#include <algorithm>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/data/Samples.h>
#include <KvxDevCommon01/files/Channels.h>
#include <KvxDevCommon01/files/RecordSamples.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxRecording01/SignalRuns.h>
#include <KvxRecording01/detail/RecordLayout.h>
#include <KvxRecording01/detail/SignalFiles.h>

namespace kvx {
namespace {

bool IsListed(const CComDataBase& record) {
    return record.GetDataMode() == CComDataBase::MODE_AXIS;
}

bool HaveSameAxis(const CComDataBase& a, const CComDataBase& b) {
    if (IsListed(a) != IsListed(b) || a.GetNsamp() != b.GetNsamp() || a.GetHUnit() != b.GetHUnit())
        return false;
    if (IsListed(a)) return std::ranges::equal(Samples(*a.GetHData()), Samples(*b.GetHData()));
    return a.GetDelta() == b.GetDelta() && a.GetOffset() == b.GetOffset();
}

class RecordsSignal : public SignalReader {
public:
    RecordsSignal(DataFileContent content, bool isJoined, const StatementNames& called)
        : content_(std::move(content)) {
        text_ = content_.header.GetName();
        const std::vector<CComDataBase>& records = content_.records;
        for (Channel& channel : ListChannels(content_)) {
            const CComDataBase& record = records[channel.record];
            if (cells_.empty() || cells_.back().back().record != channel.record) {
                RequireAxis(record, channel.record);
                if (cells_.empty() || !isJoined) {
                    AddRun(record, channel.record);
                } else if (const std::size_t first = cells_.back().front().record;
                           !HaveSameAxis(records[first], record)) {
                    throw Error(ErrorKind::kUnsupported, "records " + std::to_string(first + 1) + " and " +
                                                             std::to_string(channel.record + 1) +
                                                             " differ in their axis; choose one with " +
                                                             called.record);
                }
            }
            const bool isComplex = record.GetImaginary(0, 0) != nullptr;
            runs_.back().channels.push_back({channel.name, record.GetUnit(), channel.number, isComplex});
            cells_.back().push_back(std::move(channel));
        }
        done_.resize(runs_.size());
    }

    std::size_t Read(std::size_t run, std::span<double* const> targets, std::size_t room) override {
        RequireChannels({targets.data(), targets.size()}, run < runs_.size() ? runs_[run].Columns() : 0,
                        room);
        const auto left = static_cast<std::size_t>(runs_[run].samples - done_[run]);
        const std::size_t count = std::min(room, left);
        const auto first = static_cast<std::size_t>(done_[run]);
        std::size_t column = 0;
        const auto copy = [&](std::span<const double> samples) {
            std::ranges::copy(samples.subspan(first, count), targets[column++]);
        };
        const auto record = [&](const Channel& cell) -> const CComDataBase& {
            return content_.records[cell.record];
        };
        if (runs_[run].isListed) copy(Samples(std::as_const(*record(cells_[run].front()).GetHData())));
        for (std::size_t c = 0; c < cells_[run].size(); ++c) {
            const Channel& cell = cells_[run][c];
            copy(Samples(record(cell), cell.row, cell.column));
            if (runs_[run].channels[c].isComplex) copy(ImaginarySamples(record(cell), cell.row, cell.column));
        }
        done_[run] += static_cast<__int64>(count);
        return count;
    }

private:
    void AddRun(const CComDataBase& record, std::size_t index) {
        SignalRun& run = runs_.emplace_back();
        run.record = index + 1;
        run.delta = record.GetDelta();
        run.offset = record.GetOffset();
        run.samples = record.GetNsamp();
        run.axisUnit = record.GetHUnit();
        run.isListed = IsListed(record);
        cells_.emplace_back();
    }

    DataFileContent content_;
    std::vector<std::vector<Channel>> cells_;  ///< per run
    std::vector<__int64> done_;                ///< samples read per run
};

CComDataBase RecordOf(const RecordOutline& outline) {
    const CComDataBase::Fields& fields = outline.fields;
    const int isComplex = outline.isComplex ? 1 : 0;
    CComDataBase record;
    if (fields.mode == CComDataBase::MODE_AXIS) {
        CDataArrayDouble axis;
        axis.SetData(outline.nsamp, 0.0);
        record.Create(outline.rows, outline.cols, isComplex, fields.hunit, fields.unit, axis,
                      &fields.rowNames, &fields.colNames);
    } else {
        record.Create(fields.delta, outline.rows, outline.cols, outline.nsamp, fields.offset, isComplex,
                      fields.hunit, fields.unit, &fields.rowNames, &fields.colNames);
    }
    if (!record.Check()) throw std::bad_alloc();
    return record;
}

}  // namespace

std::unique_ptr<SignalReader> SignalOfRecords(DataFileContent content, bool isJoined,
                                              const StatementNames& called) {
    return std::make_unique<RecordsSignal>(std::move(content), isJoined, called);
}

DataFileContent RecordsOfSignal(SignalReader& reader, const ProgressFunction& progress) {
    const std::vector<SignalRun>& runs = reader.Runs();
    const RecordLayout layout = LayOutRecords(runs);
    DataFileContent content = {CComHdr(CComHdr::EXT_INFO_VIB_DATA, reader.Text().c_str()), {}};
    for (const RecordOutline& outline : layout.records) content.records.push_back(RecordOf(outline));
    std::vector<std::size_t> done(runs.size());
    const auto take = [&](std::size_t r, std::span<double* const> columns, std::size_t count) {
        std::size_t column = 0;
        const auto copyTo = [&](std::span<double> samples) {
            std::copy_n(columns[column], count, samples.subspan(done[r], count).begin());
        };
        if (runs[r].isListed) {
            for (const __int64 number : layout.RecordsOfRun(r))
                copyTo(Samples(*content.records[static_cast<std::size_t>(number)].GetHData()));
            ++column;
        }
        for (std::size_t c = 0; c < runs[r].channels.size(); ++c) {
            const auto [number, row] = layout.places[r][c];
            CComDataBase& record = content.records[static_cast<std::size_t>(number)];
            copyTo(Samples(record, row, 0));
            ++column;
            if (!runs[r].channels[c].isComplex) continue;
            copyTo(ImaginarySamples(record, row, 0));
            ++column;
        }
        done[r] += count;
    };
    ReadRuns(reader, take, progress);
    return content;
}

}  // namespace kvx
