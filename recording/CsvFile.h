// SPDX-License-Identifier: MIT
//
// Tables as text with commas: a heading line, then a row per line, every number with the digits that read
// back as the same value.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxDevCommon01/units/UnitCtrl.h>
#include <KvxRecording01/Export.h>

namespace kvx {

/// The shortest number in `unit` that is stored as the same value again: the digits that were imported. Where
/// the conversion reaches no such number, the nearest one.
KVX_RECORDING_API std::string NumberIn(const CUnitCtrl& unit, double stored);

struct CsvColumn {
    std::wstring name = {};
    std::string part = {};  ///< of a complex column, behind its name: " re"
    CUnitCtrl unit = {};
};

/// Writes to a stream that must outlive it. Operations throw what the stream throws.
class KVX_RECORDING_API CsvWriter {
public:
    /// Writes the headings: "time [s]" or what else the axis is, then "name [unit]".
    CsvWriter(ByteStream& stream, const CUnitCtrl& axisUnit, std::vector<CsvColumn> columns);

    /// Appends rows. The axis and the values of each column are those of the standard units; the axis is
    /// written in its standard unit, and a missing value as nothing.
    void Write(std::span<const double> axis, std::span<const double* const> columns);
    /// Passes on what is still kept back.
    void Flush();

private:
    ByteStream& stream_;
    std::vector<CsvColumn> columns_;
    std::string text_;
    std::vector<std::string> pieces_;  ///< of text, as room for the next rows
};

}  // namespace kvx
