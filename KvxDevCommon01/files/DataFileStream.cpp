// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/DataFileStream.h>

#include <algorithm>
#include <array>
#include <exception>
#include <limits>
#include <optional>
#include <string>
#include <utility>

#include <KvxDevCommon01/files/detail/DataFileAccess.h>
#include <KvxDevCommon01/files/detail/RecordLayout.h>
#include <KvxDevCommon01/platform/Archive.h>
#include <KvxDevCommon01/platform/File.h>

namespace kvx {
namespace {

constexpr std::size_t kHeadBuffer = 4096;
constexpr std::size_t kCellHeadBuffer = 16;
// Version, complex flag and count; the first generation has no version.
constexpr std::uint64_t kCellHeadBytes = 12;
constexpr std::uint64_t kFirstCellHeadBytes = 8;

/// Where the samples of a record stand. All cells have the same size.
struct Place {
    std::uint64_t cells = 0;  ///< byte at which the first cell begins, with its own head
    std::uint64_t headBytes = 0;
    std::uint64_t sampleBytes = sizeof(double);

    std::uint64_t CellBytes(const RecordOutline& record) const {
        const auto parts = static_cast<std::uint64_t>(record.nsamp) * (record.isComplex ? 2 : 1);
        return headBytes + parts * sampleBytes;
    }
    std::uint64_t CellOf(const RecordOutline& record, __int64 index) const {
        return cells + static_cast<std::uint64_t>(index) * CellBytes(record);
    }
};

/// The byte at which a range of samples begins; no value when it is not within the records.
std::optional<std::uint64_t> Find(const std::vector<RecordOutline>& records, const std::vector<Place>& places,
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
    const __int64 first = range.start + (isImaginary ? record.nsamp : 0);
    return place.CellOf(record, range.row * record.cols + range.col) + place.headBytes +
           static_cast<std::uint64_t>(first) * place.sampleBytes;
}

/// Runs `work` on behalf of an operation that reports in `reported`.
template <typename Work>
int Operate(const wchar_t* path, DataFileFailure* reported, Work work) try {
    DataFileFailure failure;
    const bool isDone = AttemptOnFile(path, &failure, work);
    if (reported != nullptr) *reported = std::move(failure);
    return isDone;
} catch (const std::exception&) {
    return 0;  // no memory for the report either
}

// ---- layouts of the containers that hold the samples ----

struct CellHead {
    std::int32_t isComplex = 0;
    std::int32_t count = 0;
};

CellHead LoadCellHead(CArchive& archive, RecordGeneration generation) {
    std::int32_t version = 0;
    if (generation == RecordGeneration::kCurrent) archive >> version;
    CellHead head;
    archive >> head.isComplex >> head.count;
    return head;
}

void StoreCellHead(CArchive& archive, const RecordOutline& record) {
    archive << kRecordVersion << std::int32_t{record.isComplex} << static_cast<std::int32_t>(record.nsamp);
}

void LoadMatrixHead(CArchive& archive, RecordGeneration generation, RecordOutline* record) {
    std::int32_t version = 0;
    if (generation == RecordGeneration::kCurrent) archive >> version;
    std::int32_t isComplex = 0;
    std::int32_t rows = 0;
    std::int32_t cols = 0;
    std::int32_t nsamp = 0;
    archive >> isComplex >> rows >> cols >> nsamp;
    if (rows < 1 || cols < 1 || nsamp < 1) throw Refused{DataFileFailure::kBadRecord};
    record->isComplex = isComplex != 0;
    record->rows = rows;
    record->cols = cols;
    record->nsamp = nsamp;
}

void StoreMatrixHead(CArchive& archive, const RecordOutline& record) {
    archive << kRecordVersion << std::int32_t{record.isComplex} << static_cast<std::int32_t>(record.rows)
            << static_cast<std::int32_t>(record.cols) << static_cast<std::int32_t>(record.nsamp);
}

}  // namespace

// ---- reading ----

struct DataFileReader::State {
    std::wstring path;
    InputFile file;
    std::uint64_t size = 0;
    CComHdr header;
    RecordGeneration generation = RecordGeneration::kCurrent;
    std::vector<RecordOutline> records;
    std::vector<Place> places;

    explicit State(const wchar_t* name) : path(name), file(name), size(file.Remaining()) {}

    void Index(DataFileFailure& failure);
    std::uint64_t IndexRecord(std::uint64_t begin);
    /// The byte behind axis values that begin at `begin`.
    std::uint64_t SkipAxis(std::uint64_t begin, const RecordOutline& record);
    void Read(std::uint64_t begin, double* samples, __int64 count);

    /// Runs `load` on an archive that begins at a byte of the file; the byte behind what it loaded.
    template <typename Load>
    std::uint64_t LoadAt(std::uint64_t begin, std::size_t bufferSize, Load load) {
        file.Seek(begin);
        CArchive archive(file, CArchive::load, bufferSize);
        load(archive);
        return size - archive.Remaining();
    }
};

void DataFileReader::State::Index(DataFileFailure& failure) {
    // Records run to the end of the file, so it must have one: pipes and devices do not.
    if (size == std::numeric_limits<std::uint64_t>::max()) throw CFileException(CFileException::invalidFile);
    std::uint64_t position = LoadAt(0, kHeadBuffer, [&](CArchive& archive) {
        if (LoadDataHeader(path.c_str(), archive, &header)) generation = RecordGeneration::kFirst;
    });
    if (position == size) throw Refused{DataFileFailure::kNoRecord};
    while (position < size) {
        failure.record = std::ssize(records);
        failure.offset = position;
        position = IndexRecord(position);
    }
}

std::uint64_t DataFileReader::State::IndexRecord(std::uint64_t begin) {
    const bool isFirst = generation == RecordGeneration::kFirst;
    RecordOutline record;
    Place place;
    place.headBytes = isFirst ? kFirstCellHeadBytes : kCellHeadBytes;
    place.sampleBytes = isFirst ? sizeof(float) : sizeof(double);
    place.cells = LoadAt(begin, kHeadBuffer, [&](CArchive& archive) {
        LoadRecordHead(archive, generation, &record.fields);
        LoadMatrixHead(archive, generation, &record);
        archive.RequireRemaining(record.rows * record.cols,
                                 static_cast<std::size_t>(place.CellBytes(record)));
    });
    const __int64 cells = record.rows * record.cols;
    for (__int64 cell = 0; cell < cells; ++cell) {
        LoadAt(place.CellOf(record, cell), kCellHeadBuffer, [&](CArchive& archive) {
            const CellHead head = LoadCellHead(archive, generation);
            if (head.count != record.nsamp || (head.isComplex != 0) != record.isComplex) {
                throw Refused{DataFileFailure::kBadRecord};
            }
        });
    }
    std::uint64_t end = LoadAt(place.CellOf(record, cells), kCellHeadBuffer,
                               [&](CArchive& archive) { LoadRecordSpacing(archive, &record.fields); });
    if (record.fields.mode == CComDataBase::MODE_AXIS) end = SkipAxis(end, record);
    if (record.fields.mode > CComDataBase::MODE_AXIS) throw Refused{DataFileFailure::kBadRecord};
    CompleteRowNames(record.fields.rowNames, record.rows, &record.fields);
    CompleteColNames(record.fields.colNames, record.cols, &record.fields);
    records.push_back(std::move(record));
    places.push_back(place);
    return end;
}

std::uint64_t DataFileReader::State::SkipAxis(std::uint64_t begin, const RecordOutline& record) {
    const bool isFirst = generation == RecordGeneration::kFirst;
    const std::size_t valueBytes = isFirst ? sizeof(float) : sizeof(double);
    const std::uint64_t values = LoadAt(begin, kCellHeadBuffer, [&](CArchive& archive) {
        std::int32_t version = 0;
        std::int32_t count = 0;
        if (!isFirst) archive >> version;
        archive >> count;
        archive.RequireRemaining(count, valueBytes);
        if (count != record.nsamp) throw Refused{DataFileFailure::kBadRecord};
    });
    return values + static_cast<std::uint64_t>(record.nsamp) * valueBytes;
}

void DataFileReader::State::Read(std::uint64_t begin, double* samples, __int64 count) {
    LoadAt(begin, kHeadBuffer, [&](CArchive& archive) {
        if (generation == RecordGeneration::kCurrent) {
            archive.ReadNumbers(samples, static_cast<std::size_t>(count));
            return;
        }
        std::array<float, kHeadBuffer> narrow;
        for (__int64 done = 0; done < count;) {
            const auto piece = std::min(static_cast<std::size_t>(count - done), narrow.size());
            archive.ReadNumbers(narrow.data(), piece);
            for (std::size_t i = 0; i < piece; ++i) samples[done++] = WidenedSample(narrow[i]);
        }
    });
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
        state_->Read(*begin, samples, range.num);
    });
}

// ---- writing ----

struct DataFileWriter::State {
    std::wstring path;
    OutputFile file;
    std::vector<RecordOutline> records;
    std::vector<Place> places;
    std::uint64_t missing = 0;  ///< samples to be written yet

    explicit State(const wchar_t* name) : path(name), file(name) {}

    void LayOut(const CComHdr& header, DataFileFailure& failure);
    std::uint64_t LayOutRecord(std::uint64_t begin, RecordOutline* record);

    /// Runs `store` on an archive that begins at a byte of the file; the bytes that it stored.
    template <typename Store>
    std::uint64_t StoreAt(std::uint64_t begin, Store store) {
        MemoryStream bytes;
        CArchive archive(bytes, CArchive::store, kHeadBuffer);
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
    CompleteRowNames(record->fields.rowNames, record->rows, &record->fields);
    CompleteColNames(record->fields.colNames, record->cols, &record->fields);
    Place place;
    place.headBytes = kCellHeadBytes;
    place.cells = begin + StoreAt(begin, [&](CArchive& archive) {
                      StoreRecordHead(archive, record->fields);
                      StoreMatrixHead(archive, *record);
                  });
    const __int64 cells = record->rows * record->cols;
    for (__int64 cell = 0; cell < cells; ++cell) {
        StoreAt(place.CellOf(*record, cell), [&](CArchive& archive) { StoreCellHead(archive, *record); });
    }
    const std::uint64_t tail = place.CellOf(*record, cells);
    places.push_back(place);
    missing += static_cast<std::uint64_t>(cells) * static_cast<std::uint64_t>(record->nsamp) *
               (record->isComplex ? 2 : 1);
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
        if (!begin || samples == nullptr || count > state_->missing) {
            throw Refused{DataFileFailure::kBadRecord};
        }
        state_->file.Seek(*begin);
        CArchive archive(state_->file, CArchive::store, kHeadBuffer);
        archive.WriteNumbers(samples, static_cast<std::size_t>(count));
        archive.Flush();
        state_->missing -= count;
    });
}

int DataFileWriter::Commit(DataFileFailure* failure) {
    const wchar_t* path = state_ != nullptr ? state_->path.c_str() : nullptr;
    return Operate(path, failure, [&](const wchar_t*, DataFileFailure&) {
        if (state_->missing > 0) throw Refused{DataFileFailure::kBadRecord};
        state_->file.Commit();
    });
}

}  // namespace kvx
