// SPDX-License-Identifier: MIT
#include <KvxRecording01/Formats.h>

#include <algorithm>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/CsmipFile.h>
#include <KvxRecording01/GeonetFile.h>
#include <KvxRecording01/MatFile.h>
#include <KvxRecording01/NpyFile.h>
#include <KvxRecording01/NpzFile.h>
#include <KvxRecording01/SacFile.h>
#include <KvxRecording01/SmcFile.h>
#include <KvxRecording01/SoundFile.h>
#include <KvxRecording01/TdmsFile.h>
#include <KvxRecording01/TextLines.h>
#include <KvxRecording01/TextTable.h>
#include <KvxRecording01/UffFile.h>
#include <KvxRecording01/detail/HostErrors.h>
#include <KvxRecording01/detail/SignalFiles.h>

namespace kvx {
namespace {

using namespace std::string_view_literals;

void Refuse(bool isStated, const std::string& name, const char* of) {
    if (isStated) throw Error(ErrorKind::kUnsupported, name + " is for " + of);
}

TextOptions TextOptionsOf(const RecordingStatements& statements) {
    TextOptions text = statements.text;
    text.called = statements.called;
    return text;
}

/// Throws Error for a statement that does not apply to the kind of format.
void RefuseOthers(FormatKind kind, const RecordingStatements& statements) {
    if (kind != FormatKind::sound) {
        Refuse(statements.fullScale.has_value(), statements.called.fullScale, "sound files");
        Refuse(statements.isPartial, statements.called.partial, "sound files");
    }
    if (kind != FormatKind::text) {
        const std::vector<std::string> stated = TextOptionsOf(statements).Stated();
        Refuse(!stated.empty(), stated.empty() ? "" : stated.front(), "texts");
    }
    if (statements.rateHz && statements.text.spacing) {
        throw Error(ErrorKind::kBadValue, statements.called.rate + " and " + statements.called.spacing +
                                              " both state how far apart samples are");
    }
}

std::unique_ptr<RecordingReader> OpenText(const std::string& path, const FormatRow&,
                                          const RecordingStatements& statements,
                                          const ProgressFunction& progress) {
    return OpenTextTable(OpenTextFile(path, statements.text.codePage), TextOptionsOf(statements), progress);
}

std::unique_ptr<RecordingReader> OpenSound(const std::string& path, const FormatRow& row,
                                           const RecordingStatements& statements, const ProgressFunction&) {
    return OpenSoundFile(path, row.format, statements.isPartial, statements.called.partial);
}

/// Opens a file as a stream that can be moved, for the reader of a format.
template <std::unique_ptr<RecordingReader> (*kOpen)(std::unique_ptr<ByteStream>)>
std::unique_ptr<RecordingReader> OpenStream(const std::string& path, const FormatRow&,
                                            const RecordingStatements&, const ProgressFunction&) {
    return WithErrors([&] { return kOpen(std::make_unique<InputFile>(WidePath(path))); });
}

template <Format kFormat>
std::unique_ptr<SignalWriter> CreateSound(const std::string& path, const std::vector<SignalRun>& runs,
                                          const SignalFileOptions& options) {
    return CreateSoundSignal(path, runs, options, kFormat);
}

constexpr std::string_view kSoundRead = "integers of 8 to 32 bits and floats, the rate, texts";
constexpr std::string_view kSoundWritten =
    "one run of waveforms as floats of 32 or 64 bits or integers of 16, 24 or 32, text and facts as a "
    "comment";
constexpr std::string_view kSoundCuts =
    "what a rate is off a whole one by up to a millionth, texts and facts beyond 1000 characters";
constexpr unsigned kSoundDrops = Bit(Content::names) | Bit(Content::units) | Bit(Content::axisStart);
// Of formats without texts.
constexpr std::string_view kPlainSoundRead = "integers of 8 to 32 bits and floats, the rate";
constexpr std::string_view kPlainSoundWritten =
    "one run of waveforms as floats of 32 or 64 bits or integers of 16, 24 or 32";
constexpr std::string_view kPlainSoundCuts = "what a rate is off a whole one by up to a millionth";
constexpr unsigned kTold =
    Bit(Content::start) | Bit(Content::titles) | Bit(Content::facts) | Bit(Content::text);

/// In the order of Content.
constexpr std::string_view kContentNames[kContents] = {
    "names", "units", "the rate", "the start of the axis", "date and time", "titles", "facts", "the text",
};

// The order is that in which first bytes are looked at: what only its lines tell stands behind what a mark
// tells, and text tables, which nothing tells, come last.
constexpr FormatRow kFormats[] = {
    {
        .format = Format::dataFile,
        .kind = FormatKind::data,
        .name = "a data file",
        .ends = {".vdf2"},
        .marks = {"2-7Q", "RMOC"},
        .create = CreateDataFileSignal,
        .read = "all records of the kinds that hold some, of both generations",
        .written = "a record per axis, unit and kind of values, of the current generation",
        .drops = Bit(Content::start) | Bit(Content::titles) | Bit(Content::facts),
        .cuts = "texts beyond 257 characters",
    },
    {
        .format = Format::wav,
        .kind = FormatKind::sound,
        .name = "a WAV file",
        .ends = {".wav"},
        .marks = {"RIFF????WAVE", "RIFX????WAVE"},
        .open = OpenSound,
        .create = CreateSound<Format::wav>,
        .read = kSoundRead,
        .written = "one run of waveforms as floats of 32 or 64 bits or integers of 16, 24 or 32, text and "
                   "facts as a "
                   "comment, date and time; RF64 beyond 4 GiB",
        .drops = kSoundDrops,
        .cuts = kSoundCuts,
        .hasOneRun = true,
    },
    {
        .format = Format::rf64,
        .kind = FormatKind::sound,
        .name = "an RF64 file",
        .ends = {".rf64"},
        .marks = {"RF64????WAVE"},
        .open = OpenSound,
        .create = CreateSound<Format::rf64>,
        .read = kSoundRead,
        .written = kSoundWritten,
        .drops = kSoundDrops,
        .cuts = kSoundCuts,
        .hasOneRun = true,
    },
    {
        .format = Format::wave64,
        .kind = FormatKind::sound,
        .name = "a Wave64 file",
        .ends = {".w64"},
        .marks = {"riff\x2E\x91\xCF\x11\xA5\xD6\x28\xDB\x04\xC1\0\0"sv},
        .open = OpenSound,
        .create = CreateSound<Format::wave64>,
        .read = kPlainSoundRead,
        .written = kPlainSoundWritten,
        .drops = kSoundDrops | kTold,
        .cuts = kPlainSoundCuts,
        .hasOneRun = true,
    },
    {
        .format = Format::aiff,
        .kind = FormatKind::sound,
        .name = "an AIFF file",
        .ends = {".aiff", ".aif"},
        .marks = {"FORM????AIFF", "FORM????AIFC"},
        .open = OpenSound,
        .create = CreateSound<Format::aiff>,
        .read = kSoundRead,
        .written = kSoundWritten,
        .drops = kSoundDrops | Bit(Content::start),
        .cuts = kSoundCuts,
        .hasOneRun = true,
    },
    {
        .format = Format::au,
        .kind = FormatKind::sound,
        .name = "an AU file",
        .ends = {".au"},
        .marks = {".snd\0"sv, "dns.??\0\0"sv},
        .open = OpenSound,
        .create = CreateSound<Format::au>,
        .read = kPlainSoundRead,
        .written = kPlainSoundWritten,
        .drops = kSoundDrops | kTold,
        .cuts = kPlainSoundCuts,
        .hasOneRun = true,
    },
    {
        .format = Format::caf,
        .kind = FormatKind::sound,
        .name = "a CAF file",
        .ends = {".caf"},
        .marks = {"caff\0\1"sv},
        .open = OpenSound,
        .create = CreateSound<Format::caf>,
        .read = kSoundRead,
        .written = kSoundWritten,
        .drops = kSoundDrops,
        .cuts = kSoundCuts,
        .hasOneRun = true,
    },
    {
        .format = Format::flac,
        .kind = FormatKind::sound,
        .name = "a FLAC file",
        .ends = {".flac"},
        .marks = {"fLaC"},
        .open = OpenSound,
        .create = CreateSound<Format::flac>,
        .read = kSoundRead,
        .written =
            "one run of up to 8 channels of waveforms as integers of 16 or 24 bits, text and facts as a "
            "comment, date and time",
        .drops = kSoundDrops,
        .cuts = kSoundCuts,
        .hasOneRun = true,
    },
    {
        .format = Format::tdms,
        .kind = FormatKind::binary,
        .name = "a TDMS file",
        .ends = {".tdms"},
        .marks = {"TDSm?\0\0\0"sv},
        .open = OpenStream<OpenTdmsFile>,
        .read =
            "numbers of every kind, a converter's codes with their scales, time stamps, units, properties",
    },
    {
        .format = Format::mat,
        .kind = FormatKind::binary,
        .name = "a MATLAB file",
        .ends = {".mat"},
        .marks = {"MATLAB 5.0 MAT-file", "MATLAB 7.3 MAT-file"},
        .recognize = IsMatLevel4,
        .open = OpenStream<OpenMatFile>,
        .create = CreateMatSignal,
        .read = "numeric variables of levels 4, 5 and 7.3, also compressed and in structures, with the axis, "
                "names and units that other variables state",
        .written = "a variable per channel, those of several runs in structures; level 5",
        .cuts = "runs of one sample; more than 2 GiB in a variable; facts beyond 1000, or 1000 bytes in one",
    },
    {
        .format = Format::npy,
        .kind = FormatKind::binary,
        .name = "a NumPy file",
        .ends = {".npy"},
        .marks = {"\x93NUMPY"},
        .open = OpenStream<OpenNpyFile>,
        .create = CreateNpySignal,
        .read = "one array of numbers or of records of numbers",
        .written = "one run of time waveforms as an array, samples by channels",
        .drops =
            Bit(Content::names) | Bit(Content::units) | Bit(Content::rate) | Bit(Content::axisStart) | kTold,
        .cuts = "which way the time goes where there are fewer samples than channels",
        .hasOneRun = true,
    },
    {
        .format = Format::npz,
        .kind = FormatKind::binary,
        .name = "a NumPy archive",
        .ends = {".npz"},
        .recognize = IsNpz,
        .open = OpenStream<OpenNpzFile>,
        .create = CreateNpzSignal,
        .read =
            "arrays of numbers, stored or deflated, with the axis, names and units that other arrays state",
        .written = "an array per channel, those of several runs in folders",
        .cuts = "runs of one sample; facts beyond 1000, or 1000 bytes in one",
    },
    {
        .format = Format::universal,
        .kind = FormatKind::binary,
        .name = "a universal file (UFF)",
        .ends = {".uff", ".unv", ".ufb", ".bunv"},
        .recognize = IsUniversalFile,
        .open = OpenStream<OpenUffFile>,
        .create = CreateUffSignal,
        .read = "functions (dataset 58), text and binary, with names, units and axes; what nodes and title "
                "say as properties",
        .written = "all runs, a function per channel, as doubles or as text of 13 digits",
        .cuts = "names and texts beyond 80 bytes, titles that name no kind of function, facts other than ID "
                "lines, model, description and program, missing values; as text the digits beyond 13 and "
                "those of listed places beyond 6",
    },
    {
        .format = Format::loggerText,
        .kind = FormatKind::text,
        .name = "a logger text",
        .ends = {".lvm"},
        .marks = {"LabVIEW Measurement"},
        .open = OpenText,
        .read = "columns with their names and units, the time column",
    },
    {
        .format = Format::sac,
        .kind = FormatKind::binary,
        .name = "a SAC file",
        .ends = {".sac"},
        .recognize = [](std::string_view begin) { return IsSac(begin) || IsSacText(begin); },
        .open = OpenStream<OpenSac>,
        .create = CreateSacSignal,
        .read = "a time series, evenly spaced or with its times, or a spectrum, of versions 6 and 7",
        .written =
            "one channel over time, or complex over frequency, as floats of 32 bits; motion in nm, nm/s "
            "and nm/s2, voltage in V",
        .drops = Bit(Content::units) | Bit(Content::titles),
        .cuts = "digits beyond 24 bits, of the date and time those beyond milliseconds, facts that are no "
                "fields of the header, names and their parts beyond 8 and texts beyond 16 bytes",
        .takesUnit = IsSacUnit,
        .hasOneRun = true,
    },
    {
        .format = Format::smc,
        .kind = FormatKind::binary,
        .name = "an SMC text",
        .ends = {".smc"},
        .recognize = IsSmc,
        .open = OpenStream<OpenSmc>,
        .read = "acceleration, velocity or displacement, evenly spaced or with its times",
    },
    {
        .format = Format::csmip,
        .kind = FormatKind::binary,
        .name = "a CSMIP volume",
        .ends = {".v1", ".v2"},
        .recognize = IsCsmip,
        .open = OpenStream<OpenCsmip>,
        .read = "acceleration, velocity and displacement of all channels of volumes 1 and 2",
    },
    {
        .format = Format::geonet,
        .kind = FormatKind::binary,
        .name = "a GeoNet volume",
        .ends = {".v1a", ".v2a"},
        .recognize = IsGeonet,
        .open = OpenStream<OpenGeonet>,
        .read = "acceleration, velocity and displacement of all components of volumes 1 and 2",
    },
    {
        .format = Format::text,
        .kind = FormatKind::text,
        .name = "a text table",
        .ends = {".csv", ".txt"},
        .open = OpenText,
        .create = CreateCsvSignal,
        .read = "columns apart by commas, semicolons, tabs, blanks or another sign, their names and units; "
                "times, "
                "dates or frequencies as their axis; complex numbers in one field or two columns",
        .written = "one run: the axis and a column per channel, two of a complex one; numbers that read back "
                   "as they were",
        .drops = Bit(Content::text),
        .cuts = "in .csv also date and time, titles and facts, which .txt holds in comment lines",
        .hasOneRun = true,
    },
};

}  // namespace

std::span<const FormatRow> Formats() {
    return kFormats;
}

const FormatRow& RowOf(Format format) {
    const auto row = std::ranges::find(kFormats, format, &FormatRow::format);
    if (row == std::end(kFormats)) throw Error(ErrorKind::kUnsupported, "it is of no format that is known");
    return *row;
}

std::string LostIn(const FormatRow& row) {
    std::string text;
    for (std::size_t i = 0; i < kContents; ++i) {
        const bool isDropped = (row.drops & 1U << i) != 0;
        if (!isDropped) continue;
        const bool isInPart = row.takesUnit != nullptr && static_cast<Content>(i) == Content::units;
        text +=
            (text.empty() ? "" : ", ") + std::string(kContentNames[i]) + (isInPart ? " of other values" : "");
    }
    if (!row.cuts.empty()) text += (text.empty() ? "" : "; ") + std::string(row.cuts);
    return text;
}

std::string RemarkOnLoss(const FormatRow& row, const std::vector<SignalRun>& runs,
                         const std::vector<RecordingInfo::Property>& facts) {
    if ((row.drops & Bit(Content::units)) == 0) return {};
    unsigned held = facts.empty() ? 0U : Bit(Content::facts);
    for (const SignalRun& run : runs) {
        if (!run.isListed) held |= Bit(Content::rate);
        if (!run.isListed && run.offset != 0) held |= Bit(Content::axisStart);
        if (run.start) held |= Bit(Content::start);
        if (!run.title.empty()) held |= Bit(Content::titles);
        for (const SignalRun::Channel& channel : run.channels) {
            if (!channel.name.empty() && channel.name != L"ch" + std::to_wstring(channel.number))
                held |= Bit(Content::names);
            const bool isTaken = row.takesUnit != nullptr && row.takesUnit(channel.unit);
            if (DimensionOf(channel.unit) != CUnitCtrl::DIM_NONE && !isTaken) held |= Bit(Content::units);
        }
    }
    const unsigned lost = held & row.drops;
    std::string text;
    for (std::size_t i = 0; i < kContents; ++i) {
        if ((lost & 1U << i) == 0) continue;
        const bool isLast = lost >> (i + 1) == 0;
        text += (text.empty() ? "" : isLast ? " and " : ", ") + std::string(kContentNames[i]);
    }
    return text.empty() ? text : std::string(row.name) + " has no place for " + text + "; they are left out";
}

std::optional<Format> FormatOfEnd(std::string_view end) {
    for (const FormatRow& row : kFormats) {
        if (!end.empty() && std::ranges::find(row.ends, end) != row.ends.end()) return row.format;
    }
    return std::nullopt;
}

bool IsSound(Format format) {
    return format != Format::none && RowOf(format).kind == FormatKind::sound;
}

std::unique_ptr<RecordingReader> OpenRecording(const std::string& path, const RecordingStatements& statements,
                                               const ProgressFunction& progress) {
    const Format format = RecognizeFile(path).format;
    // The reader of texts refuses what is no recording, and knows best by what name.
    const bool isKnown = format != Format::none && format != Format::dataFile;
    const FormatRow& row = RowOf(isKnown ? format : Format::text);
    RefuseOthers(row.kind, statements);
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
