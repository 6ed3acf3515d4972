// SPDX-License-Identifier: MIT
//
// Recordings of any format into files of any format that is written: what import, export, convert and edit
// have in common.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <KvxRecording01/SignalReader.h>

#include "cli/Batch.h"
#include "cli/Command.h"
#include "commands/Stream.h"

namespace kvx::tool {

struct ConvertOptions {
    StreamOptions stream;
    std::optional<std::string> text;  ///< else that of the input
    std::string shownUnitsName = "--to-unit";
    std::string shownUnits;  ///< to convert to
    std::string scales;
    std::string offsets;
};

/// The free text that is stated, if one is. Throws ValueError.
std::optional<std::wstring> StatedText(const ConvertOptions& options);

void AddTextOption(Command& command, ConvertOptions* options);
void AddShownUnitsOption(Command& command, ConvertOptions* options);

/// What an output may hold: any runs, with missing samples where it is no sound; records of one axis join
/// where it has room for one run.
SignalKinds KindsFor(Format format);

/// Writes the whole of a reader on behalf of `verb`, in the format of the output. Its report goes to `out`:
/// of a data file, when `hasTable` is set, the channels with their records; else a line, and of standard
/// output none.
void WriteSignal(std::string_view verb, const ConvertOptions& options, SignalReader& reader, bool hasTable,
                 ByteStream& out);

/// Converts one recording. `edits` says whether names and units are changed also where the file states them.
/// Throws Failure, ValueError or UsageError.
void RunConversion(std::string_view verb, const ConvertOptions& options, bool hasTable, bool edits,
                   ByteStream& out);

}  // namespace kvx::tool
