// SPDX-License-Identifier: MIT
//
// The archive layout of a data record, for all that load or store one: as a whole or without its samples.
// Each function throws what the archive throws and, when loading, Error for contents that make no record.
#pragma once

#include <cstdint>
#include <span>
#include <utility>

#include <KvxDevCommon01/data/detail/Layout.h>
#include <KvxDevCommon01/files/ComDataBase.h>
#include <KvxDevCommon01/files/DataFileStream.h>
#include <KvxDevCommon01/platform/Archive.h>

namespace kvx {

inline Generation GenerationOf(const FileHead& head) {
    return head.isFirstGeneration ? Generation::first : Generation::current;
}

/// Where the numbers of a record stand behind its head. The first generation holds them in single precision.
struct RecordPlan {
    std::uint64_t cellHeadBytes = 0;
    std::uint64_t numberBytes = 0;
    std::uint64_t numbersPerCell = 0;  ///< real and imaginary
    std::uint64_t cells = 0;
    std::uint64_t axisValues = 0;

    RecordPlan() = default;
    RecordPlan(const RecordOutline& record, Generation generation);

    std::uint64_t CellBytes() const { return cellHeadBytes + numbersPerCell * numberBytes; }
    std::uint64_t AxisBytes() const { return axisValues * numberBytes; }
    std::uint64_t Numbers() const { return cells * numbersPerCell + axisValues; }
    /// Of all that stands behind the names, about.
    std::uint64_t Bytes() const { return cells * CellBytes() + AxisBytes() + 64; }
};

/// What stands in front of the cells: mode, units, names, of which no more are kept than there can be cells
/// in what follows, and the head of the matrix. Loading also checks that the archive can still hold the
/// cells.
RecordOutline LoadRecordHead(CArchive& archive, Generation generation);
void StoreRecordHead(CArchive& archive, const CComDataBase::Fields& fields);
void StoreMatrixHead(CArchive& archive, const RecordOutline& record);

/// What stands in front of the samples of a cell. Loading accepts only what the record states.
void LoadCellHead(CArchive& archive, Generation generation, const RecordOutline& record);
void StoreCellHead(CArchive& archive, const RecordOutline& record);

/// What stands behind the samples of a record with an equally spaced axis; nothing for others.
void LoadRecordSpacing(CArchive& archive, CComDataBase::Fields* fields);
void StoreRecordSpacing(CArchive& archive, const CComDataBase::Fields& fields);

/// What stands in front of axis values, of which there must be as many as a cell has samples.
void LoadAxisHead(CArchive& archive, Generation generation, const RecordOutline& record);
void StoreAxisHead(CArchive& archive, const RecordOutline& record);

/// Samples or axis values; those of the first generation are widened, their no-data marker with them.
void LoadSamples(CArchive& archive, Generation generation, std::span<double> samples);

/// A name per row and column: the given ones, then default ones.
void CompleteRowNames(CStringArray given, __int64 rows, CComDataBase::Fields* fields);
void CompleteColNames(CStringArray given, __int64 cols, CComDataBase::Fields* fields);

/// Loads a record, in the order of its bytes: the one place that knows this order and what is checked when,
/// so that all who load find the same faults. `Taker` has the archive and does what it wants with the
/// samples: Archive() is where loading goes on, Begin(record) comes before the first cell, TakeCell(cell) and
/// TakeAxis() read or skip the samples of a cell and the axis values.
template <typename Taker>
RecordOutline LoadRecord(Taker& taker, Generation generation) {
    RecordOutline record = LoadRecordHead(taker.Archive(), generation);
    taker.Begin(record);
    for (__int64 cell = 0; cell < record.rows * record.cols; ++cell) {
        LoadCellHead(taker.Archive(), generation, record);
        taker.TakeCell(cell);
    }
    LoadRecordSpacing(taker.Archive(), &record.fields);
    if (record.fields.mode == CComDataBase::MODE_AXIS) {
        LoadAxisHead(taker.Archive(), generation, record);
        taker.TakeAxis();
    }
    CompleteRowNames(std::move(record.fields.rowNames), record.rows, &record.fields);
    CompleteColNames(std::move(record.fields.colNames), record.cols, &record.fields);
    return record;
}

/// The record as a whole, in the memory of a `former` one where that fits; std::bad_alloc when there is not
/// enough memory.
CComDataBase LoadWholeRecord(CArchive& archive, Generation generation, CComDataBase former = CComDataBase());

}  // namespace kvx
