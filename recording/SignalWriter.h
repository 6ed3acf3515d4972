// SPDX-License-Identifier: MIT
//
// Recordings into a file, block by block. Formats.h has the formats; each has its own file.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include <KvxDevCommon01/files/DataFileStream.h>
#include <KvxRecording01/Export.h>
#include <KvxRecording01/SignalReader.h>
#include <KvxRecording01/Statements.h>
#include <KvxRecording01/UffFile.h>
#include <KvxRecording01/WavFile.h>

namespace kvx {

/// What the formats that are written want to know.
struct SignalFileOptions {
    std::wstring text = {};  ///< free text, of which the header of a data file keeps 257 characters
    WavOptions wav = {};     ///< of a sound file
    UffOptions uff = {};     ///< of a universal file
    StatementNames called = {};
    std::vector<RecordingInfo::Property> facts = {};  ///< what the recording tells about itself
};

/// Takes the samples of runs; the file is in place after Commit, and before that its target is as it was.
/// Operations throw Error. One object belongs to one thread at a time.
class KVX_RECORDING_API SignalWriter {
public:
    virtual ~SignalWriter() = default;
    SignalWriter(const SignalWriter&) = delete;
    SignalWriter& operator=(const SignalWriter&) = delete;

    /// Appends `count` samples, in standard units, to a run, whose columns are those of SignalReader. They
    /// may be used as room.
    virtual void Write(std::size_t run, std::span<double* const> columns, std::size_t count) = 0;
    /// Throws Error (kBadValue) while samples of a run are missing.
    virtual void Commit() = 0;
    /// The records being written; none in what is no data file.
    virtual std::vector<RecordOutline> Records() const { return {}; }

protected:
    SignalWriter() = default;
};

}  // namespace kvx
