// SPDX-License-Identifier: MIT
//
// The channels of all records of a data file under one numbering, and what is asked of them.
#pragma once

#include <span>
#include <string>
#include <vector>

#include <KvxRecording01/SignalReader.h>
#include <KvxRecording01/detail/DataFileBlocks.h>

namespace kvx {

/// The chosen cells of a file, those of one record together and in the order of the records. Throws Error.
std::vector<Cell> SelectCells(const std::vector<RecordOutline>& records, const SignalChoice& choice);

/// Whether samples `delta` apart have an axis: the spacing is above 0, it has a reciprocal, and every sample
/// stands at a finite place.
bool IsEvenAxis(double delta, __int64 offset, __int64 samples);

/// Throws Error when the record, number `index` from 0 on, is evenly spaced but has no axis.
void RequireEvenAxis(const RecordOutline& record, std::size_t index);

/// Whether the axis of the record is the time, evenly spaced, and its samples are real.
bool IsWaveform(const RecordOutline& record);

/// Throws Error when a sample, the first of which is number `start` (0-based) of channel `name`, holds no
/// value.
void RequireValues(std::span<const double> samples, const std::wstring& name, __int64 start);

}  // namespace kvx
