// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/DataFileStream.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <exception>
#include <iterator>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include <KvxDevCommon01/files/detail/DataFileAccess.h>
#include <KvxDevCommon01/files/detail/RecordLayout.h>
#include <KvxDevCommon01/platform/Archive.h>
#include <KvxDevCommon01/platform/File.h>

namespace kvx {
namespace {

constexpr std::size_t kBuffer = 4096;

/// Where the samples of a record stand. All cells have the same size.
struct Place {
    std::uint64_t cells = 0;  ///< byte at which the first cell begins, with its own head
    CellLayout layout = {};
    std::uint64_t samples = 0;  ///< of the records before, imaginary parts too

    std::uint64_t CellBytes(const RecordOutline& record) const {
        return layout.headBytes + SamplesOfCell(record) * layout.sampleBytes;
    }
    static std::uint64_t SamplesOfCell(const RecordOutline& record) {
        return static_cast<std::uint64_t>(record.nsamp) * (record.isComplex ? 2 : 1);
    }
};

/// Where a range of samples begins.
struct Spot {
    std::uint64_t byte;    ///< of the file
    std::uint64_t sample;  ///< of all samples of the file, in their order
};

/// No value for a range that is not within the records.
std::optional<Spot> Find(const std::vector<RecordOutline>& records, const std::vector<Place>& places,
                         const SampleRange& range, bool isImaginary) {
    const auto within = [](__int64 index, __int64 count) { return index >= 0 && index < count; };
    if (!within(range.record, std::ssize(records))) return std::nullopt;
    const auto index = static_cast<std::size_t>(range.record);
    const RecordOutline& record = records[index];
    if (!within(range.row, record.rows) || !within(range.col, record.cols) || range.num < 0 ||
        range.start < 0 || range.start > record.nsamp || range.num > record.nsamp - range.start ||
        (isImaginary && !record.isComplex)) {
        return std::nullopt;
    }
    const Place& place = places[index];
    const auto cell = static_cast<std::uint64_t>(range.row * record.cols + range.col);
    const auto first = static_cast<std::uint64_t>(range.start + (isImaginary ? record.nsamp : 0));
    return Spot{place.cells + cell * place.CellBytes(record) + place.layout.headBytes +
                    first * place.layout.sampleBytes,
                place.samples + cell * Place::SamplesOfCell(record) + first};
}

/// Runs `work` on behalf of an operation that reports in `reported`.
template <typename Work>
int Operate(const wchar_t* path, DataFileFailure* reported, Work work) try {
    DataFileFailure failure;
    const bool isDone = AttemptOnFile(path, &failure, work);
    if (reported != nullptr) *reported = std::move(failure);
    return isDone;
} catch (const std::exception&) {  // no memory for the report either
    if (reported != nullptr) reported->reason = DataFileFailure::kNoMemory;
    return 0;
}

/// Finds its way through the records of a file without their samples.
class RecordScanner {
public:
    explicit RecordScanner(InputFile& file) : file_(file), size_(file.Remaining()) { Restart(0); }

    CArchive& Archive() { return *archive_; }
    /// The byte at which loading goes on.
    std::uint64_t Position() const { return size_ - archive_->Remaining(); }
    bool IsAtEnd() const { return archive_->Remaining() == 0; }

    void Begin(const RecordOutline& record) {
        record_ = &record;
        place_.cells = Position();
    }
    void TakeCell(__int64) { Skip(Place::SamplesOfCell(*record_) * place_.layout.sampleBytes); }
    void TakeAxis() { Skip(static_cast<std::uint64_t>(record_->nsamp) * place_.layout.sampleBytes); }

    Place Scan(RecordGeneration generation, RecordOutline* record) {
        place_ = {.layout = CellLayoutOf(generation)};
        LoadRecord(*this, generation, record);
        return place_;
    }

private:
    void Restart(std::uint64_t position) {
        file_.Seek(position);
        archive_.emplace(file_, CArchive::load, kBuffer);
    }
    /// The layout was checked to fit the file.
    void Skip(std::uint64_t bytes) {
        std::array<std::byte, kBuffer> passed;
        if (bytes <= passed.size()) {
            archive_->ReadExact(passed.data(), static_cast<std::size_t>(bytes));
        } else {
            Restart(Position() + bytes);
        }
    }

    InputFile& file_;
    std::uint64_t size_;
    std::optional<CArchive> archive_;
    const RecordOutline* record_ = nullptr;
    Place place_;
};

/// Which of the samples of a file were written: disjoint ranges that do not touch, first to behind the last.
/// What is written in order is one.
class WrittenRanges {
public:
    void Add(std::uint64_t first, std::uint64_t last) {
        if (first == last) return;
        auto range = ranges_.upper_bound(first);
        if (range != ranges_.begin() && std::prev(range)->second >= first) {
            --range;
        } else {
            range = ranges_.emplace_hint(range, first, last);
        }
        range->second = std::max(range->second, last);
        for (auto next = std::next(range); next != ranges_.end() && next->first <= range->second;) {
            range->second = std::max(range->second, next->second);
            next = ranges_.erase(next);
        }
    }
    bool AreAll(std::uint64_t samples) const {
        return ranges_.size() == 1 && ranges_.begin()->first == 0 && ranges_.begin()->second == samples;
    }

private:
    std::map<std::uint64_t, std::uint64_t> ranges_;
};

}  // namespace

// ---- reading ----

struct DataFileReader::State {
    std::wstring path;
    InputFile file;
    CComHdr header;
    RecordGeneration generation = RecordGeneration::kCurrent;
    std::vector<RecordOutline> records;
    std::vector<Place> places;

    explicit State(const wchar_t* name) : path(name), file(name) {}

    void Index(DataFileFailure& failure);
    void Read(std::uint64_t begin, double* samples, __int64 count);
};

void DataFileReader::State::Index(DataFileFailure& failure) {
    const CComHdr::HDRCODE_TYPE type = BeginDataFile(file);
    if (type == CComHdr::HDRCODE_FIRST) generation = RecordGeneration::kFirst;
    RecordScanner scanner(file);
    LoadDataHeader(scanner.Archive(), type, &header);
    if (scanner.IsAtEnd()) throw Refused{DataFileFailure::kNoRecord};
    while (!scanner.IsAtEnd()) {
        failure.record = std::ssize(records);
        failure.offset = scanner.Position();
        RecordOutline record;
        places.push_back(scanner.Scan(generation, &record));
        records.push_back(std::move(record));
    }
}

void DataFileReader::State::Read(std::uint64_t begin, double* samples, __int64 count) {
    file.Seek(begin);
    CArchive archive(file, CArchive::load, kBuffer);
    LoadSamples(archive, generation, samples, count);
}

DataFileReader::DataFileReader() = default;
DataFileReader::~DataFileReader() = default;

int DataFileReader::Open(const wchar_t* path, DataFileFailure* failure) {
    state_.reset();
    return Operate(path, failure, [this](const wchar_t* name, DataFileFailure& place) {
        auto state = std::make_unique<State>(name);
        state->Index(place);
        state_ = std::move(state);
    });
}

const CComHdr& DataFileReader::GetHeader() const {
    static const CComHdr none;
    return state_ != nullptr ? state_->header : none;
}

const std::vector<RecordOutline>& DataFileReader::GetRecords() const {
    static const std::vector<RecordOutline> none;
    return state_ != nullptr ? state_->records : none;
}

int DataFileReader::ReadReal(const SampleRange& range, double* samples, DataFileFailure* failure) {
    return Read(range, false, samples, failure);
}

int DataFileReader::ReadImaginary(const SampleRange& range, double* samples, DataFileFailure* failure) {
    return Read(range, true, samples, failure);
}

int DataFileReader::Read(const SampleRange& range, bool isImaginary, double* samples,
                         DataFileFailure* failure) {
    const wchar_t* path = state_ != nullptr ? state_->path.c_str() : nullptr;
    return Operate(path, failure, [&](const wchar_t*, DataFileFailure& place) {
        place.record = range.record;
        const auto begin = Find(state_->records, state_->places, range, isImaginary);
        if (!begin || samples == nullptr) throw Refused{DataFileFailure::kBadRecord};
        state_->Read(begin->byte, samples, range.num);
    });
}

// ---- writing ----

struct DataFileWriter::State {
    std::wstring path;
    OutputFile file;
    std::vector<RecordOutline> records;
    std::vector<Place> places;
    std::uint64_t samples = 0;  ///< of all records, imaginary parts too
    WrittenRanges written;

    explicit State(const wchar_t* name) : path(name), file(name) {}

    void LayOut(const CComHdr& header, DataFileFailure& failure);
    std::uint64_t LayOutRecord(std::uint64_t begin, RecordOutline* record);

    /// Runs `store` on an archive that begins at a byte of the file; the bytes that it stored.
    template <typename Store>
    std::uint64_t StoreAt(std::uint64_t begin, Store store) {
        MemoryStream bytes;
        CArchive archive(bytes, CArchive::store, kBuffer);
        store(archive);
        archive.Flush();
        file.Seek(begin);
        file.Write(bytes.Bytes().data(), bytes.Bytes().size());
        return bytes.Bytes().size();
    }
};

void DataFileWriter::State::LayOut(const CComHdr& header, DataFileFailure& failure) {
    RequireDataHeader(header);
    if (records.empty()) throw Refused{DataFileFailure::kNoRecord};
    std::uint64_t position = StoreAt(0, [&](CArchive& archive) { CComHdr(header).Serialize(archive); });
    for (RecordOutline& record : records) {
        failure.record = &record - records.data();
        position = LayOutRecord(position, &record);
    }
}

std::uint64_t DataFileWriter::State::LayOutRecord(std::uint64_t begin, RecordOutline* record) {
    constexpr __int64 kMost = std::numeric_limits<std::int32_t>::max();
    const auto holds = [](__int64 count) { return count >= 1 && count <= kMost; };
    if (record->fields.mode != CComDataBase::MODE_SPACING || !holds(record->rows) || !holds(record->cols) ||
        !holds(record->nsamp) || record->rows > kMost / record->cols) {
        throw Refused{DataFileFailure::kBadRecord};
    }
    CompleteRowNames(std::move(record->fields.rowNames), record->rows, &record->fields);
    CompleteColNames(std::move(record->fields.colNames), record->cols, &record->fields);
    Place place;
    place.layout = CellLayoutOf(RecordGeneration::kCurrent);
    place.samples = samples;
    place.cells = begin + StoreAt(begin, [&](CArchive& archive) {
                      StoreRecordHead(archive, record->fields);
                      StoreMatrixHead(archive, *record);
                  });
    const __int64 cells = record->rows * record->cols;
    const auto cellAt = [&](__int64 cell) {
        return place.cells + static_cast<std::uint64_t>(cell) * place.CellBytes(*record);
    };
    for (__int64 cell = 0; cell < cells; ++cell) {
        StoreAt(cellAt(cell), [&](CArchive& archive) { StoreCellHead(archive, *record); });
    }
    const std::uint64_t tail = cellAt(cells);
    places.push_back(place);
    samples += static_cast<std::uint64_t>(cells) * Place::SamplesOfCell(*record);
    return tail + StoreAt(tail, [&](CArchive& archive) { StoreRecordSpacing(archive, record->fields); });
}

DataFileWriter::DataFileWriter() = default;
DataFileWriter::~DataFileWriter() = default;

int DataFileWriter::Create(const wchar_t* path, const CComHdr& header,
                           const std::vector<RecordOutline>& records, DataFileFailure* failure) {
    state_.reset();
    return Operate(path, failure, [&](const wchar_t* name, DataFileFailure& place) {
        auto state = std::make_unique<State>(name);
        state->records = records;
        state->LayOut(header, place);
        state_ = std::move(state);
    });
}

int DataFileWriter::WriteReal(const SampleRange& range, const double* samples, DataFileFailure* failure) {
    return Write(range, false, samples, failure);
}

int DataFileWriter::WriteImaginary(const SampleRange& range, const double* samples,
                                   DataFileFailure* failure) {
    return Write(range, true, samples, failure);
}

int DataFileWriter::Write(const SampleRange& range, bool isImaginary, const double* samples,
                          DataFileFailure* failure) {
    const wchar_t* path = state_ != nullptr ? state_->path.c_str() : nullptr;
    return Operate(path, failure, [&](const wchar_t*, DataFileFailure& place) {
        place.record = range.record;
        const auto begin = Find(state_->records, state_->places, range, isImaginary);
        const auto count = static_cast<std::uint64_t>(range.num);
        if (!begin || samples == nullptr) throw Refused{DataFileFailure::kBadRecord};
        state_->file.Seek(begin->byte);
        CArchive archive(state_->file, CArchive::store, kBuffer);
        archive.WriteNumbers(samples, static_cast<std::size_t>(count));
        archive.Flush();
        state_->written.Add(begin->sample, begin->sample + count);
    });
}

int DataFileWriter::Commit(DataFileFailure* failure) {
    const wchar_t* path = state_ != nullptr ? state_->path.c_str() : nullptr;
    return Operate(path, failure, [&](const wchar_t*, DataFileFailure&) {
        if (!state_->written.AreAll(state_->samples)) throw Refused{DataFileFailure::kBadRecord};
        state_->file.Commit();
    });
}

}  // namespace kvx
