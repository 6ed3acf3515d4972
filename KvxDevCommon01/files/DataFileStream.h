// SPDX-License-Identifier: MIT
//
// Data files of any length, block by block: DataFileReader finds its way through a file without loading
// samples, DataFileWriter lays a file out and takes the samples in any order. Both work on a file or on any
// stream that can be moved. Operations throw Error with the record concerned: kUnsupported for what is no
// data file, kDamaged for a damaged one, kBadValue for samples or records that there cannot be, and what the
// host refuses. One object belongs to one thread at a time.
#pragma once

#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/files/ComDataBase.h>
#include <KvxDevCommon01/files/FileHead.h>
#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxDevCommon01/platform/Types.h>

namespace kvx {

/// A record without its samples and axis values.
struct RecordOutline {
    CComDataBase::Fields fields;
    __int64 rows = 0;
    __int64 cols = 0;
    __int64 nsamp = 0;  ///< per cell
    bool isComplex = false;
};

/// Sample number `start` of a cell, from where on samples are read or written; all counted from 0.
struct SamplePlace {
    __int64 record = 0;
    __int64 row = 0;
    __int64 col = 0;
    __int64 start = 0;
};

class KVX_API DataFileReader {
public:
    /// Opens a file of either generation, by the same strict rules as LoadDataFile: everything but the values
    /// of samples is checked.
    explicit DataFileReader(std::wstring_view path);
    /// The same for a stream that stands at its first byte and can be moved; it must outlive the reader.
    explicit DataFileReader(ByteStream& stream);
    ~DataFileReader();
    DataFileReader(DataFileReader&&) noexcept;
    DataFileReader& operator=(DataFileReader&&) noexcept;

    const FileHead& Head() const;
    const std::vector<RecordOutline>& Records() const;

    /// Reads the real or imaginary samples of a cell from `place` on, as many as `samples` has room for. All
    /// of them must be there.
    void ReadReal(const SamplePlace& place, std::span<double> samples);
    void ReadImaginary(const SamplePlace& place, std::span<double> samples);
    /// The axis values of the samples from `start` on, in the standard unit of the axis: those that the
    /// record has, or (offset + start + i) * delta.
    void ReadAxis(__int64 record, __int64 start, std::span<double> values);

private:
    struct State;

    std::unique_ptr<State> state_;
};

class KVX_API DataFileWriter {
public:
    /// Begins a file of records to which samples are then written. The header must be of group 2; there must
    /// be a record; each must be evenly spaced or have axis values, and counts from 1 to 2147483647; names
    /// are completed as by CComDataBase::Create.
    DataFileWriter(std::wstring_view path, const CComHdr& header, std::vector<RecordOutline> records);
    /// The same on an empty stream that can be moved; it must outlive the writer.
    DataFileWriter(ByteStream& stream, const CComHdr& header, std::vector<RecordOutline> records);
    /// Without Commit an existing file stays as it was.
    ~DataFileWriter();
    DataFileWriter(DataFileWriter&&) noexcept;
    DataFileWriter& operator=(DataFileWriter&&) noexcept;

    /// Writes real or imaginary samples of a cell from `place` on, in any order; what is written again
    /// replaces what was there.
    void WriteReal(const SamplePlace& place, std::span<const double> samples);
    void WriteImaginary(const SamplePlace& place, std::span<const double> samples);
    /// Writes axis values, in the standard unit of the axis, of a record that has them.
    void WriteAxis(__int64 record, __int64 start, std::span<const double> values);

    /// Puts the file in its place. Throws kBadValue while a sample or axis value was never written.
    void Commit();

private:
    struct State;

    std::unique_ptr<State> state_;
};

}  // namespace kvx
