// SPDX-License-Identifier: MIT
//
// Measurement files of loggers (.lvm) beyond one table: several segments, each with headers of its own,
// places on the axis per channel, channels that end before others, axes other than time.
#pragma once

#include <memory>

#include <KvxDevCommon01/platform/Progress.h>
#include <KvxRecording01/Recording.h>
#include <KvxRecording01/Statements.h>
#include <KvxRecording01/TextLines.h>

namespace kvx {

/// Opens such a file, which it goes through as a whole; null for any other text, which is a table. Segments
/// whose columns are the same are one run where the next goes on at the step of the one before it. Throws
/// Error.
std::unique_ptr<RecordingReader> OpenLoggerSegments(const OpenText& open, const TextOptions& options,
                                                    const ProgressFunction& progress);

}  // namespace kvx
