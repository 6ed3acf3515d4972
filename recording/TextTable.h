// SPDX-License-Identifier: MIT
//
// Recordings from text: columns apart by any sign, with or without headings and a column of times, dates or
// frequencies, decimal point or comma, complex numbers in one field or in two columns, and the measurement
// text files of data loggers (.lvm), whose header blocks are read for what they say of the columns. Numbers
// become the nearest double.
#pragma once

#include <memory>
#include <vector>

#include <KvxDevCommon01/platform/Progress.h>
#include <KvxRecording01/Export.h>
#include <KvxRecording01/Recording.h>
#include <KvxRecording01/Statements.h>
#include <KvxRecording01/TextLines.h>

namespace kvx {

/// Goes through a whole text, so that what is wrong with it is told before it is read: throws Error naming
/// the line and column. Of the text no more than some megabytes are kept.
KVX_RECORDING_API std::unique_ptr<RecordingReader> OpenTextTable(OpenText open, const TextOptions& options,
                                                                 const ProgressFunction& progress = {});

/// The coefficients of a filter: the numbers of a text in one column or one row, 1048576 at most. A time
/// column cannot be stated. Throws Error.
KVX_RECORDING_API std::vector<double> ReadCoefficients(OpenText open, TextOptions options = {},
                                                       const ProgressFunction& progress = {});

}  // namespace kvx
