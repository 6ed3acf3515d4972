// SPDX-License-Identifier: MIT
//
// Data files block by block, with every failure an Error.
#pragma once

#include <span>
#include <string>
#include <vector>

#include <KvxDevCommon01/files/DataFileStream.h>

namespace kvx {

/// One cell of one record.
struct Cell {
    std::size_t number;  ///< from 1, through all records of the file, row by row
    std::size_t record;  ///< 0-based
    __int64 row;
    __int64 column;
    std::wstring name;
};

class DataFileInput {
public:
    explicit DataFileInput(const std::string& path);

    std::wstring Text() const { return file_.Head().header.GetName(); }
    const std::vector<RecordOutline>& Records() const { return file_.Records(); }

    /// As many samples of a cell as there is room for, from number `start` (0-based) on.
    void ReadReal(const Cell& cell, __int64 start, std::span<double> samples);
    void ReadImaginary(const Cell& cell, __int64 start, std::span<double> samples);
    /// Where those samples stand, in the standard unit of the axis.
    void ReadAxis(std::size_t record, __int64 start, std::span<double> values);

private:
    DataFileReader file_;
};

class DataFileOutput {
public:
    DataFileOutput(const std::string& path, const std::wstring& text,
                   const std::vector<RecordOutline>& records);

    void WriteReal(__int64 record, __int64 row, __int64 start, std::span<const double> samples);
    void Commit();

private:
    DataFileWriter file_;
};

}  // namespace kvx
