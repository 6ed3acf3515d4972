// SPDX-License-Identifier: MIT
//
// The formats of recordings, one row each: its name, the ends of its file names, its first bytes, what reads
// and writes it, and what comes through. A new format is a file that reads or writes it, a value of Format
// and a row in Formats.cpp.
#pragma once

#include <array>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/platform/Progress.h>
#include <KvxRecording01/Export.h>
#include <KvxRecording01/FileContent.h>
#include <KvxRecording01/Recording.h>
#include <KvxRecording01/SignalWriter.h>
#include <KvxRecording01/Statements.h>

namespace kvx {

/// What the samples of a format are, which decides what can be stated of them.
enum class FormatKind {
    data,    ///< records of the suite, of which nothing is stated
    sound,   ///< parts of a full scale
    text,    ///< columns of numbers
    binary,  ///< numbers in a unit that the file may state
};

/// What a recording has beside its samples and a format may have no place for.
enum class Content : unsigned { names, units, rate, axisStart, start, titles, facts, text };
inline constexpr std::size_t kContents = 8;

constexpr unsigned Bit(Content content) {
    return 1U << static_cast<unsigned>(content);
}

struct FormatRow {
    /// Opens the file at `path` (UTF-8) for reading. Throws Error.
    using Open = std::unique_ptr<RecordingReader> (*)(const std::string& path, const FormatRow& row,
                                                      const RecordingStatements& statements,
                                                      const ProgressFunction& progress);
    /// Begins a file of `runs` at `path` (UTF-8). Throws Error.
    using Create = std::unique_ptr<SignalWriter> (*)(const std::string& path,
                                                     const std::vector<SignalRun>& runs,
                                                     const SignalFileOptions& options);
    /// Whether a file is of the format, by its first bytes, kContentBytes of them where there are as many.
    using Recognize = bool (*)(std::string_view begin);

    Format format;
    FormatKind kind;
    std::string_view name;                       ///< "a WAV file"
    std::array<std::string_view, 4> ends = {};   ///< of file names, in small letters with the dot
    std::array<std::string_view, 4> marks = {};  ///< how files begin, '?' for any byte
    Recognize recognize = nullptr;               ///< where marks do not tell; null where they do
    Open open = nullptr;            ///< null for a data file, whose axes, units and names are settled
    Create create = nullptr;        ///< null for what is only read
    std::string_view read;          ///< what is read of it
    std::string_view written = {};  ///< what is written
    unsigned drops = 0;             ///< bits of what it has no place for
    std::string_view cuts = {};     ///< what of a recording it holds in part
    bool (*takesUnit)(const CUnitCtrl& unit) = nullptr;  ///< the units that it holds, where it drops others
    bool hasOneRun = false;  ///< whether a file that is written has room for one run only
};

/// All formats that are read or written.
KVX_RECORDING_API std::span<const FormatRow> Formats();

/// The row of a format other than none.
KVX_RECORDING_API const FormatRow& RowOf(Format format);

/// What a recording has and a format cannot hold, for a person: "names, units, texts beyond 1000 characters".
KVX_RECORDING_API std::string LostIn(const FormatRow& row);

/// A sentence on what of these runs, and of what else is told about them, is not in the file that they
/// become: "a WAV file holds no names and no units". Of a format that holds units it is empty, as LostIn
/// tells.
KVX_RECORDING_API std::string RemarkOnLoss(const FormatRow& row, const std::vector<SignalRun>& runs,
                                           const std::vector<RecordingInfo::Property>& facts = {});

/// The format whose file names end so (".wav", in small letters); no value when none does.
KVX_RECORDING_API std::optional<Format> FormatOfEnd(std::string_view end);

/// Whether files of the format hold sound: samples that are parts of a full scale.
KVX_RECORDING_API bool IsSound(Format format);

/// Opens the file of another format than the suite's at `path`, whatever its name, before its axis and units
/// are settled; a data file is refused as no text. Refuses what was stated of it and does not apply. Throws
/// Error.
KVX_RECORDING_API std::unique_ptr<RecordingReader> OpenRecording(const std::string& path,
                                                                 const RecordingStatements& statements,
                                                                 const ProgressFunction& progress = {});

/// Begins a file of one of the formats that are written. Throws Error, also for a format that is only read.
KVX_RECORDING_API std::unique_ptr<SignalWriter> CreateSignalFile(const std::string& path, Format format,
                                                                 const std::vector<SignalRun>& runs,
                                                                 const SignalFileOptions& options = {});

}  // namespace kvx
