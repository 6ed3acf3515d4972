// SPDX-License-Identifier: MIT
//
// Data files of any length, block by block: DataFileReader finds its way through a file without loading
// samples, DataFileWriter lays a file out and takes the samples in any order. Operations return 1, or 0 with
// the reason in `failure` (may be null). One object belongs to one thread at a time.
#pragma once

#include <memory>
#include <vector>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/files/ComDataBase.h>
#include <KvxDevCommon01/files/ComHdr.h>
#include <KvxDevCommon01/files/DataFile.h>
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

/// Samples `start` to `start + num - 1` of a cell.
struct SampleRange {
    __int64 record;
    __int64 row;
    __int64 col;
    __int64 start;
    __int64 num;
};

class KVX_API DataFileReader {
public:
    DataFileReader();
    ~DataFileReader();
    DataFileReader(const DataFileReader&) = delete;
    DataFileReader& operator=(const DataFileReader&) = delete;

    /// Opens a file of either generation, by the same strict rules as CComDataFile::LoadDataFile: everything
    /// but the values of samples is checked.
    int Open(const wchar_t* path, DataFileFailure* failure = nullptr);

    /// What the open file says; an empty header and no records without one.
    const CComHdr& GetHeader() const;
    const std::vector<RecordOutline>& GetRecords() const;

    /// Reads real or imaginary samples. Fails for a null pointer and for samples that are not there.
    int ReadReal(const SampleRange& range, double* samples, DataFileFailure* failure = nullptr);
    int ReadImaginary(const SampleRange& range, double* samples, DataFileFailure* failure = nullptr);

private:
    struct State;

    int Read(const SampleRange& range, bool isImaginary, double* samples, DataFileFailure* failure);

    std::unique_ptr<State> state_;
};

class KVX_API DataFileWriter {
public:
    DataFileWriter();
    /// Without Commit an existing file stays as it was.
    ~DataFileWriter();
    DataFileWriter(const DataFileWriter&) = delete;
    DataFileWriter& operator=(const DataFileWriter&) = delete;

    /// Begins a file of records with equally spaced axes, to which samples are then written. The header must
    /// be of group 2; counts must be from 1 to 2147483647; names are completed as by CComDataBase::Create.
    int Create(const wchar_t* path, const CComHdr& header, const std::vector<RecordOutline>& records,
               DataFileFailure* failure = nullptr);

    /// Writes real or imaginary samples, in any order; what is written again replaces what was there. Fails
    /// for a null pointer and for samples that the records do not have.
    int WriteReal(const SampleRange& range, const double* samples, DataFileFailure* failure = nullptr);
    int WriteImaginary(const SampleRange& range, const double* samples, DataFileFailure* failure = nullptr);

    /// Puts the file in its place. Fails while a sample of the records was never written.
    int Commit(DataFileFailure* failure = nullptr);

private:
    struct State;

    int Write(const SampleRange& range, bool isImaginary, const double* samples, DataFileFailure* failure);

    std::unique_ptr<State> state_;
};

}  // namespace kvx
