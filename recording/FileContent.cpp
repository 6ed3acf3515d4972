// SPDX-License-Identifier: MIT
#include <KvxRecording01/FileContent.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <system_error>

#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxRecording01/Formats.h>
#include <KvxRecording01/detail/ByteOrder.h>
#include <KvxRecording01/detail/HostErrors.h>

namespace kvx {
namespace {

using namespace std::string_view_literals;

/// What is known and not read.
struct Foreign {
    std::string_view mark;  ///< '?' stands for any byte
    std::string_view name;
};

// clang-format off
constexpr Foreign kForeign[] = {
    {"\x89HDF\r\n\x1A\n"sv,                "an HDF5 file"},
    {"CDF\1"sv,                            "a NetCDF file"},
    {"CDF\2"sv,                            "a NetCDF file"},
    {"TDSh?\0\0\0"sv,                    "the index of a TDMS file, without samples"},
    {"PAR1\x15"sv,                         "a Parquet file"},
    {"SQLite format 3\0"sv,                "an SQLite database"},
    {"PK\3\4"sv,                           "a ZIP archive, as XLSX files are"},
    {"\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1"sv, "an office document of an old kind, as XLS files are"},
    {"\x1F\x8B"sv,                         "a gzip archive"},
    {"BZh?1AY&SY"sv,                       "a bzip2 archive"},
    {"\xFD" "7zXZ\0"sv,                    "an XZ archive"},
    {"\x28\xB5\x2F\xFD"sv,                 "a Zstandard archive"},
    {"7z\xBC\xAF\x27\x1C"sv,               "a 7z archive"},
    {"Rar!\x1A\7"sv,                       "a RAR archive"},
    {"%PDF-"sv,                            "a PDF file"},
    {"{\\rtf"sv,                           "an RTF document"},
    {"\x89PNG\r\n\x1A\n"sv,                "a PNG picture"},
    {"\xFF\xD8\xFF"sv,                     "a JPEG picture"},
    {"GIF8?a"sv,                           "a GIF picture"},
    {"ID3\2"sv,                            "an MP3 file"},
    {"ID3\3"sv,                            "an MP3 file"},
    {"ID3\4"sv,                            "an MP3 file"},
    {"OggS\0"sv,                           "an Ogg file"},
    {"\0\0\0?ftyp"sv,                      "an MP4 file"},
    {"\x1A\x45\xDF\xA3"sv,                 "a Matroska file"},
    {"RIFF????AVI "sv,                     "an AVI file"},
    {"BW64????WAVE"sv,                     "a BW64 file"},
    {"NIST_1A\n"sv,                        "a SPHERE sound file"},
    {"Creative Voice File\x1A"sv,          "a VOC sound file"},
};
// clang-format on

bool StartsWith(std::string_view begin, std::string_view magic) {
    return begin.size() >= magic.size() &&
           std::ranges::equal(begin.substr(0, magic.size()), magic,
                              [](char byte, char expected) { return expected == '?' || byte == expected; });
}

/// Whether the header of a frame of layer III stands in front. A text may begin with its bytes, but holds no
/// 0.
bool IsMp3(std::string_view begin) {
    if (begin.size() < 4 || begin.find('\0') == begin.npos) return false;
    const std::uint64_t head = LoadWhole(begin.substr(0, 4), true);
    const bool isVersion = (head >> 19 & 3) != 1;
    const bool isRate = (head >> 12 & 15) != 15 && (head >> 10 & 3) != 3;
    return head >> 21 == 0x7FF && isVersion && (head >> 17 & 3) == 1 && isRate;
}

}  // namespace

FileContent RecognizeContent(std::string_view begin) {
    for (const FormatRow& row : Formats()) {
        for (const std::string_view mark : row.marks) {
            if (!mark.empty() && StartsWith(begin, mark)) return {row.name, row.format};
        }
        if (row.recognize != nullptr && row.recognize(begin)) return {row.name, row.format};
    }
    const auto foreign =
        std::ranges::find_if(kForeign, [&](const Foreign& row) { return StartsWith(begin, row.mark); });
    if (foreign != std::end(kForeign)) return {foreign->name, Format::none};
    if (IsMp3(begin)) return {"an MP3 file", Format::none};
    return {RowOf(Format::text).name, Format::text};
}

FileContent RecognizeFile(const std::string& path) {
    std::error_code ignored;
    std::string begin;
    if (std::filesystem::is_regular_file(path, ignored)) {
        WithErrors([&] {
            InputFile file(WidePath(path));
            begin.resize(kContentBytes);
            begin.resize(file.Read(begin.data(), begin.size()));
        });
    }
    return RecognizeContent(begin);
}

}  // namespace kvx
