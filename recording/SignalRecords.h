// SPDX-License-Identifier: MIT
//
// Records in memory as a signal, so that they are written in any format, and a signal as records in memory,
// for what works on those.
#pragma once

#include <memory>

#include <KvxDevCommon01/files/DataFileContent.h>
#include <KvxDevCommon01/platform/Progress.h>
#include <KvxRecording01/Export.h>
#include <KvxRecording01/SignalReader.h>
#include <KvxRecording01/Statements.h>

namespace kvx {

/// A reader of records of any kind: a run per record, or with `isJoined` all cells as one run. Its text is
/// that of the header. Throws Error for a record without an axis, and where they are joined and differ in
/// their axis, in the words of `called`.
KVX_RECORDING_API std::unique_ptr<SignalReader> SignalOfRecords(DataFileContent content,
                                                                bool isJoined = false,
                                                                const StatementNames& called = {});

/// All that a reader holds from which nothing was read: a record per run, unit and kind of values, as in a
/// data file, and its text in the header. Throws Error, std::bad_alloc when memory runs out, and what the
/// reader throws.
KVX_RECORDING_API DataFileContent RecordsOfSignal(SignalReader& reader,
                                                  const ProgressFunction& progress = {});

}  // namespace kvx
