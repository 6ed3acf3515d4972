// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/DataFileStream.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
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

/// A file or another's stream, and the name of the file for reports.
template <class File>
struct Target {
    explicit Target(std::wstring_view name) : path(ToUtf8(name)), file(std::in_place, name), stream(*file) {}
    explicit Target(ByteStream& other) : stream(other) {}

    std::string path;
    std::optional<File> file;
    ByteStream& stream;
};

/// Where the numbers of a record stand.
struct RecordPlace {
    RecordPlan plan;
    std::uint64_t cells = 0;    ///< byte at which the first cell begins, with its own head
    std::uint64_t axis = 0;     ///< byte at which the first axis value stands
    std::uint64_t numbers = 0;  ///< of the records before
};

/// Where a range of samples or axis values begins.
struct Spot {
    std::uint64_t byte;    ///< of the file
    std::uint64_t number;  ///< of all samples and axis values of the file
};

enum class Part { real, imaginary };

void RequireThere(bool isThere) {
    if (!isThere) throw Error(ErrorKind::kBadValue, "it has no such samples");
}

/// The records of a file and where their numbers stand.
struct RecordMap {
    std::vector<RecordOutline> records;
    std::vector<RecordPlace> places;

    /// The record, which must have samples `start` to `start + count - 1`.
    const RecordOutline& Require(__int64 number, __int64 start, std::size_t count) const {
        RequireThere(number >= 0 && number < std::ssize(records));
        const RecordOutline& record = records[static_cast<std::size_t>(number)];
        RequireThere(start >= 0 && start <= record.nsamp &&
                     count <= static_cast<std::size_t>(record.nsamp - start));
        return record;
    }

    Spot FindSamples(const SamplePlace& place, std::size_t count, Part part) const {
        const RecordOutline& record = Require(place.record, place.start, count);
        const auto within = [](__int64 number, __int64 all) { return number >= 0 && number < all; };
        RequireThere(within(place.row, record.rows) && within(place.col, record.cols) &&
                     (part == Part::real || record.isComplex));
        const RecordPlace& at = places[static_cast<std::size_t>(place.record)];
        const auto cell = static_cast<std::uint64_t>(place.row * record.cols + place.col);
        const auto first =
            static_cast<std::uint64_t>(place.start + (part == Part::imaginary ? record.nsamp : 0));
        return {at.cells + cell * at.plan.CellBytes() + at.plan.cellHeadBytes + first * at.plan.numberBytes,
                at.numbers + cell * at.plan.numbersPerCell + first};
    }

    Spot FindAxis(__int64 number, __int64 start, std::size_t count) const {
        Require(number, start, count);
        const RecordPlace& at = places[static_cast<std::size_t>(number)];
        if (at.plan.axisValues == 0) throw Error(ErrorKind::kBadValue, "it has no axis values");
        const auto first = static_cast<std::uint64_t>(start);
        return {at.axis + first * at.plan.numberBytes,
                at.numbers + at.plan.cells * at.plan.numbersPerCell + first};
    }
};

/// Finds its way through the records of a file without their samples.
class RecordScanner {
public:
    explicit RecordScanner(ByteStream& stream) : stream_(stream), size_(stream.Remaining()) {
        archive_.emplace(stream_, CArchive::load, kBuffer);
    }

    CArchive& Archive() { return *archive_; }

    void Begin(const RecordOutline& record) {
        place_ = {.plan = RecordPlan(record, generation_), .cells = Position()};
    }
    void TakeCell(__int64) { Skip(place_.plan.CellBytes() - place_.plan.cellHeadBytes); }
    void TakeAxis() {
        place_.axis = Position();
        Skip(place_.plan.AxisBytes());
    }

    /// Appends the next record to the map.
    void Scan(Generation generation, RecordMap* map) {
        generation_ = generation;
        RecordOutline record = LoadRecord(*this, generation);
        map->places.push_back(place_);
        map->records.push_back(std::move(record));
    }

private:
    /// The byte at which loading goes on.
    std::uint64_t Position() const { return size_ - archive_->Remaining(); }

    /// The layout was checked to fit the file.
    void Skip(std::uint64_t bytes) {
        std::array<std::byte, kBuffer> passed;
        if (bytes <= passed.size()) {
            archive_->ReadExact(passed.data(), static_cast<std::size_t>(bytes));
        } else {
            stream_.Seek(Position() + bytes);
            archive_.emplace(stream_, CArchive::load, kBuffer);
        }
    }

    ByteStream& stream_;
    std::uint64_t size_;
    std::optional<CArchive> archive_;
    Generation generation_ = Generation::current;
    RecordPlace place_;
};

/// Passes on what is written, and knows where it stands.
class PlacedOutput final : public ByteStream {
public:
    explicit PlacedOutput(ByteStream& target) : target_(target) {}

    std::size_t Read(void*, std::size_t) override { return 0; }
    void Write(const void* data, std::size_t size) override {
        target_.Write(data, size);
        position_ += size;
    }
    std::uint64_t Remaining() const override { return 0; }
    void Seek(std::uint64_t position) override {
        target_.Seek(position);
        position_ = position;
    }
    void Expect(std::uint64_t size) override { target_.Expect(size); }
    std::uint64_t Position() const { return position_; }

private:
    ByteStream& target_;
    std::uint64_t position_ = 0;
};

/// Writes everything of a file but the samples and axis values, of which it writes nothing or zeros.
class FilePlanner {
public:
    explicit FilePlanner(ByteStream& target) : output_(target), archive_(output_, CArchive::store, kBuffer) {}

    void PlanHeader(CComHdr header) { header.Serialize(archive_); }

    /// Completes the names of the record and says where its numbers are to be written.
    RecordPlace PlanRecord(RecordOutline* record, std::uint64_t numbersBefore) {
        RequireRecord(*record);
        CompleteRowNames(std::move(record->fields.rowNames), record->rows, &record->fields);
        CompleteColNames(std::move(record->fields.colNames), record->cols, &record->fields);
        StoreRecordHead(archive_, record->fields);
        StoreMatrixHead(archive_, *record);
        RecordPlace place = {.plan = RecordPlan(*record, Generation::current), .numbers = numbersBefore};
        archive_.Expect(place.plan.Bytes());
        place.cells = Position();
        for (std::uint64_t cell = 0; cell < place.plan.cells; ++cell) {
            StoreCellHead(archive_, *record);
            LeaveOut(place.plan.CellBytes() - place.plan.cellHeadBytes);
        }
        StoreRecordSpacing(archive_, record->fields);
        if (record->fields.mode == CComDataBase::MODE_AXIS) {
            StoreAxisHead(archive_, *record);
            place.axis = Position();
            LeaveOut(place.plan.AxisBytes());
        }
        return place;
    }

    /// What was left out at the end is not part of the file before it is written.
    void Finish() { archive_.Flush(); }

private:
    static void RequireRecord(const RecordOutline& record) {
        constexpr __int64 kMost = std::numeric_limits<std::int32_t>::max();
        const auto holds = [](__int64 count) { return count >= 1 && count <= kMost; };
        const auto mode = record.fields.mode;
        const bool hasAxis = mode == CComDataBase::MODE_SPACING || mode == CComDataBase::MODE_AXIS;
        if (!hasAxis || !holds(record.rows) || !holds(record.cols) || !holds(record.nsamp) ||
            record.rows > kMost / record.cols) {
            throw Error(ErrorKind::kBadValue, "it is empty or damaged");
        }
    }
    std::uint64_t Position() {
        archive_.Flush();
        return output_.Position();
    }
    /// Zeros where a jump costs more.
    void LeaveOut(std::uint64_t bytes) {
        static constexpr std::array<std::byte, kBuffer / 2> kZeros = {};
        if (bytes <= kZeros.size()) {
            archive_.Write(kZeros.data(), static_cast<std::size_t>(bytes));
        } else {
            output_.Seek(Position() + bytes);
        }
    }

    PlacedOutput output_;
    CArchive archive_;
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
    explicit State(auto& source) : input(source) {}

    static std::unique_ptr<State> Open(auto& source, const ErrorPlace& file) {
        return WithPlace(file, [&](ErrorPlace& place) {
            auto state = std::make_unique<State>(source);
            RecordScanner scanner(state->input.stream);
            state->head = LoadDataFileHead(scanner.Archive());
            while (scanner.Archive().Remaining() > 0) {
                place.record = std::ssize(state->map.records) + 1;
                scanner.Scan(GenerationOf(state->head), &state->map);
            }
            return state;
        });
    }

    void ReadSamples(const SamplePlace& place, std::span<double> samples, Part part) {
        WithPlace(At(place.record),
                  [&](ErrorPlace&) { ReadFrom(map.FindSamples(place, samples.size(), part), samples); });
    }

    void ReadAxis(__int64 record, __int64 start, std::span<double> values) {
        WithPlace(At(record), [&](ErrorPlace&) {
            const CComDataBase::Fields& fields = map.Require(record, start, values.size()).fields;
            if (fields.mode == CComDataBase::MODE_SPACING) {
                __int64 index = fields.offset + start;
                for (double& value : values) value = static_cast<double>(index++) * fields.delta;
            } else {
                ReadFrom(map.FindAxis(record, start, values.size()), values);
            }
        });
    }

    void ReadFrom(const Spot& spot, std::span<double> numbers) {
        input.stream.Seek(spot.byte);
        CArchive archive(input.stream, CArchive::load, 0);
        LoadSamples(archive, GenerationOf(head), numbers);
    }

    ErrorPlace At(__int64 record) const { return {.path = input.path, .record = record + 1}; }

    Target<InputFile> input;
    FileHead head;
    RecordMap map;
};

DataFileReader::DataFileReader(std::wstring_view path) : state_(State::Open(path, {.path = ToUtf8(path)})) {}
DataFileReader::DataFileReader(ByteStream& stream) : state_(State::Open(stream, {})) {}
DataFileReader::~DataFileReader() = default;
DataFileReader::DataFileReader(DataFileReader&&) noexcept = default;
DataFileReader& DataFileReader::operator=(DataFileReader&&) noexcept = default;

const FileHead& DataFileReader::Head() const {
    return state_->head;
}

const std::vector<RecordOutline>& DataFileReader::Records() const {
    return state_->map.records;
}

void DataFileReader::ReadReal(const SamplePlace& place, std::span<double> samples) {
    state_->ReadSamples(place, samples, Part::real);
}

void DataFileReader::ReadImaginary(const SamplePlace& place, std::span<double> samples) {
    state_->ReadSamples(place, samples, Part::imaginary);
}

void DataFileReader::ReadAxis(__int64 record, __int64 start, std::span<double> values) {
    state_->ReadAxis(record, start, values);
}

// ---- writing ----

struct DataFileWriter::State {
    explicit State(auto& destination) : output(destination) {}

    static std::unique_ptr<State> Begin(auto& destination, const ErrorPlace& file, const CComHdr& header,
                                        std::vector<RecordOutline> records) {
        return WithPlace(file, [&](ErrorPlace& place) {
            RequireDataHeader(header);
            if (records.empty()) throw Error(ErrorKind::kBadValue, "there is no record to store");
            auto state = std::make_unique<State>(destination);
            FilePlanner planner(state->output.stream);
            planner.PlanHeader(header);
            for (RecordOutline& record : records) {
                place.record = std::ssize(state->map.places) + 1;
                state->map.places.push_back(planner.PlanRecord(&record, state->numbers));
                state->numbers += state->map.places.back().plan.Numbers();
            }
            planner.Finish();
            state->map.records = std::move(records);
            return state;
        });
    }

    void WriteSamples(const SamplePlace& place, std::span<const double> samples, Part part) {
        WithPlace(At(place.record),
                  [&](ErrorPlace&) { WriteTo(map.FindSamples(place, samples.size(), part), samples); });
    }

    void WriteAxis(__int64 record, __int64 start, std::span<const double> values) {
        WithPlace(At(record),
                  [&](ErrorPlace&) { WriteTo(map.FindAxis(record, start, values.size()), values); });
    }

    void WriteTo(const Spot& spot, std::span<const double> values) {
        output.stream.Seek(spot.byte);
        CArchive archive(output.stream, CArchive::store, 0);
        archive.WriteNumbers(values.data(), values.size());
        archive.Flush();
        written.Add(spot.number, spot.number + values.size());
    }

    ErrorPlace At(__int64 record) const { return {.path = output.path, .record = record + 1}; }

    void Commit() {
        WithPlace({.path = output.path}, [this](ErrorPlace&) {
            if (!written.AreAll(numbers))
                throw Error(ErrorKind::kBadValue, "not all of its samples and axis values were written");
            if (output.file) output.file->Commit();
        });
    }

    Target<OutputFile> output;
    RecordMap map;
    std::uint64_t numbers = 0;  ///< samples and axis values of all records
    WrittenRanges written;
};

DataFileWriter::DataFileWriter(std::wstring_view path, const CComHdr& header,
                               std::vector<RecordOutline> records)
    : state_(State::Begin(path, {.path = ToUtf8(path)}, header, std::move(records))) {}
DataFileWriter::DataFileWriter(ByteStream& stream, const CComHdr& header, std::vector<RecordOutline> records)
    : state_(State::Begin(stream, {}, header, std::move(records))) {}
DataFileWriter::~DataFileWriter() = default;
DataFileWriter::DataFileWriter(DataFileWriter&&) noexcept = default;
DataFileWriter& DataFileWriter::operator=(DataFileWriter&&) noexcept = default;

void DataFileWriter::WriteReal(const SamplePlace& place, std::span<const double> samples) {
    state_->WriteSamples(place, samples, Part::real);
}

void DataFileWriter::WriteImaginary(const SamplePlace& place, std::span<const double> samples) {
    state_->WriteSamples(place, samples, Part::imaginary);
}

void DataFileWriter::WriteAxis(__int64 record, __int64 start, std::span<const double> values) {
    state_->WriteAxis(record, start, values);
}

void DataFileWriter::Commit() {
    state_->Commit();
}

}  // namespace kvx
