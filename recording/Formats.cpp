// SPDX-License-Identifier: MIT
#include <KvxRecording01/Formats.h>

#include <algorithm>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxRecording01/SoundFile.h>
#include <KvxRecording01/TextLines.h>
#include <KvxRecording01/TextTable.h>
#include <KvxRecording01/detail/SignalFiles.h>

namespace kvx {
namespace {

using namespace std::string_view_literals;

void Refuse(bool isStated, const std::string& name, const char* of) {
    if (isStated) throw Error(ErrorKind::kUnsupported, name + " is for " + of);
}

std::unique_ptr<RecordingReader> OpenText(const std::string& path, const FormatRow&,
                                          const RecordingStatements& statements,
                                          const ProgressFunction& progress) {
    Refuse(statements.fullScale.has_value(), statements.called.fullScale, "sound files");
    Refuse(statements.isPartial, statements.called.partial, "sound files");
    return OpenTextTable(OpenTextFile(path, statements.text.codePage), statements.text, progress);
}

std::unique_ptr<RecordingReader> OpenSound(const std::string& path, const FormatRow& row,
                                           const RecordingStatements& statements, const ProgressFunction&) {
    const TextOptions& text = statements.text;
    Refuse(text.firstColumnIsTime.has_value(), statements.called.time, "texts");
    Refuse(text.decimalComma, statements.called.decimal, "texts");
    Refuse(text.codePage != 0, text.encodingName, "texts");
    return OpenSoundFile(path, row.format, statements.isPartial, statements.called.partial);
}

// clang-format off
constexpr FormatRow kFormats[] = {
    {Format::dataFile,   "a data file",   {".vdf2"},          {"2-7Q", "RMOC"},                           nullptr,   CreateDataFileSignal},
    {Format::wav,        "a WAV file",    {".wav"},           {"RIFF????WAVE", "RIFX????WAVE"},           OpenSound, CreateWavSignal},
    {Format::rf64,       "an RF64 file",  {".rf64"},          {"RF64????WAVE"},                           OpenSound, nullptr},
    {Format::wave64,     "a Wave64 file", {".w64"},           {"riff\x2E\x91\xCF\x11\xA5\xD6\x28\xDB\x04\xC1\0\0"sv}, OpenSound, nullptr},
    {Format::aiff,       "an AIFF file",  {".aiff", ".aif"},  {"FORM????AIFF", "FORM????AIFC"},           OpenSound, nullptr},
    {Format::au,         "an AU file",    {".au"},            {".snd\0"sv, "dns.??\0\0"sv},               OpenSound, nullptr},
    {Format::caf,        "a CAF file",    {".caf"},           {"caff\0\1"sv},                             OpenSound, nullptr},
    {Format::flac,       "a FLAC file",   {".flac"},          {"fLaC"},                                   OpenSound, nullptr},
    {Format::loggerText, "a logger text", {".lvm"},           {"LabVIEW Measurement"},                    OpenText,  nullptr},
    {Format::text,       "a text table",  {".csv", ".txt"},   {},                                         OpenText,  CreateCsvSignal},
};
// clang-format on

}  // namespace

std::span<const FormatRow> Formats() {
    return kFormats;
}

const FormatRow& RowOf(Format format) {
    const auto row = std::ranges::find(kFormats, format, &FormatRow::format);
    if (row == std::end(kFormats)) throw Error(ErrorKind::kUnsupported, "it is of no format that is known");
    return *row;
}

std::optional<Format> FormatOfEnd(std::string_view end) {
    for (const FormatRow& row : kFormats) {
        if (!end.empty() && std::ranges::find(row.ends, end) != row.ends.end()) return row.format;
    }
    return std::nullopt;
}

bool IsSound(Format format) {
    return format != Format::none && RowOf(format).open == OpenSound;
}

std::unique_ptr<RecordingReader> OpenRecording(const std::string& path, const RecordingStatements& statements,
                                               const ProgressFunction& progress) {
    const Format format = RecognizeFile(path).format;
    // The reader of texts refuses what is neither, and knows best by what name.
    const FormatRow& row = RowOf(IsSound(format) ? format : Format::text);
    return row.open(path, row, statements, progress);
}

std::unique_ptr<SignalWriter> CreateSignalFile(const std::string& path, Format format,
                                               const std::vector<SignalRun>& runs,
                                               const SignalFileOptions& options) {
    const FormatRow& row = RowOf(format);
    if (row.create == nullptr)
        throw Error(ErrorKind::kUnsupported, std::string(row.name) + " is only read, not written");
    return row.create(path, runs, options);
}

}  // namespace kvx
