// SPDX-License-Identifier: MIT
//
// The archive layout of a data record, for all that load or store one: as a whole or without its samples.
// Each function throws what the archive throws and, when loading, Refused for contents that make no record.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include <KvxDevCommon01/files/ComDataBase.h>
#include <KvxDevCommon01/files/DataFileStream.h>
#include <KvxDevCommon01/platform/Archive.h>

namespace kvx {

/// The first generation has no version words and holds samples and axis values in single precision.
enum class RecordGeneration { kFirst, kCurrent };

inline constexpr std::int32_t kRecordVersion = 1;

/// A record without its samples, as long as nothing was allocated for them.
using RecordFields = CComDataBase::Fields;

/// Bytes in front of the samples of a cell, and of a sample.
struct CellLayout {
    std::uint64_t headBytes;
    std::uint64_t sampleBytes;
};

constexpr CellLayout CellLayoutOf(RecordGeneration generation) {
    // Flag and count, in the current generation behind a version.
    if (generation == RecordGeneration::kFirst) return {8, sizeof(float)};
    return {12, sizeof(double)};
}

/// What stands before the samples: mode, units and names, of which no more are kept than there can be cells
/// in what follows.
void LoadRecordHead(CArchive& archive, RecordGeneration generation, RecordFields* fields);
void StoreRecordHead(CArchive& archive, const RecordFields& fields);

/// The counts and the flag of the matrix. Loading also checks that the archive can still hold the cells.
void LoadMatrixHead(CArchive& archive, RecordGeneration generation, RecordOutline* record);
void StoreMatrixHead(CArchive& archive, const RecordOutline& record);

/// What stands in front of the samples of a cell. Loading accepts only what the record states.
void LoadCellHead(CArchive& archive, RecordGeneration generation, const RecordOutline& record);
void StoreCellHead(CArchive& archive, const RecordOutline& record);

/// What stands behind the samples of a record with an equally spaced axis; nothing for others.
void LoadRecordSpacing(CArchive& archive, RecordFields* fields);
void StoreRecordSpacing(CArchive& archive, const RecordFields& fields);

/// What stands in front of axis values, of which there must be as many as a cell has samples.
void LoadAxisHead(CArchive& archive, RecordGeneration generation, const RecordOutline& record);

/// Samples or axis values; those of the first generation are widened, their no-data marker with them.
void LoadSamples(CArchive& archive, RecordGeneration generation, double* samples, __int64 count);

/// A name per row and column: the given ones, then default ones.
void CompleteRowNames(CStringArray given, __int64 rows, RecordFields* fields);
void CompleteColNames(CStringArray given, __int64 cols, RecordFields* fields);

/// Loads a record, in the order of its bytes: the one place that knows this order and what is checked when,
/// so that all who load find the same faults. `Source` has the archive and does what it wants with the
/// samples: Archive() is where loading goes on, Begin(record) comes before the first cell, TakeCell(cell) and
/// TakeAxis() read or skip the samples of a cell and the axis values.
template <typename Source>
void LoadRecord(Source& source, RecordGeneration generation, RecordOutline* record) {
    LoadRecordHead(source.Archive(), generation, &record->fields);
    LoadMatrixHead(source.Archive(), generation, record);
    source.Begin(*record);
    for (__int64 cell = 0; cell < record->rows * record->cols; ++cell) {
        LoadCellHead(source.Archive(), generation, *record);
        source.TakeCell(cell);
    }
    LoadRecordSpacing(source.Archive(), &record->fields);
    if (record->fields.mode == CComDataBase::MODE_AXIS) {
        LoadAxisHead(source.Archive(), generation, *record);
        source.TakeAxis();
    }
    CompleteRowNames(std::move(record->fields.rowNames), record->rows, &record->fields);
    CompleteColNames(std::move(record->fields.colNames), record->cols, &record->fields);
}

/// The record as a whole; std::bad_alloc when there is not enough memory.
CComDataBase LoadWholeRecord(CArchive& archive, RecordGeneration generation);

}  // namespace kvx
