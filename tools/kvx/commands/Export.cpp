// SPDX-License-Identifier: MIT
//
// kvx export: records become a CSV table or, when they are waveforms, a WAV file.
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxRecording01/SoundFile.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/OutputFormat.h"
#include "cli/Progress.h"
#include "cli/StandardStreams.h"
#include "commands/Commands.h"
#include "commands/DataFiles.h"
#include "commands/Signal.h"
#include "commands/SignalWriter.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

constexpr std::array kExportFormats = {OutputFormat::csv, OutputFormat::text, OutputFormat::wav};

struct ExportOptions {
    std::string input;
    OutputChoice output;
    std::string units;
    ChannelOptions channels;
    WavOptions wav;
};

/// One channel to be written; values are converted as they are written.
struct Column {
    Channel channel;
    const CComDataBase* record;
    CUnitCtrl unit;
    const double* real;
    const double* imaginary;  ///< null in a real record
};

bool HaveSameAxis(const CComDataBase& a, const CComDataBase& b) {
    if (a.GetDataMode() != b.GetDataMode() || a.GetNsamp() != b.GetNsamp() || a.GetHUnit() != b.GetHUnit()) {
        return false;
    }
    if (a.GetHData() && b.GetHData()) return *a.GetHData() == *b.GetHData();
    return a.GetDelta() == b.GetDelta() && a.GetOffset() == b.GetOffset();
}

std::vector<Column> MakeColumns(const DataFileContent& content, const ExportOptions& options) {
    std::vector<Column> columns;
    for (Channel& channel : SelectChannels(content, options.channels)) {
        const CComDataBase& record = content.records[channel.record];
        columns.push_back({std::move(channel), &record, record.GetUnit(), nullptr, nullptr});
        Column& column = columns.back();
        column.real = record.GetReal(column.channel.row, column.channel.column);
        column.imaginary = record.GetImaginary(column.channel.row, column.channel.column);
        if (!HaveSameAxis(*columns.front().record, record)) {
            throw Error(ErrorKind::kBadValue, "records " +
                                                  std::to_string(columns.front().channel.record + 1) +
                                                  " and " + std::to_string(column.channel.record + 1) +
                                                  " differ in their axis; choose one with --record");
        }
    }
    if (options.units.empty()) return columns;
    const std::vector<std::string> units = SpreadList("--unit", options.units, columns.size());
    for (std::size_t c = 0; c < columns.size(); ++c) {
        const CUnitCtrl stored = columns[c].unit;
        CUnitCtrl::DIM_CODE dimension = CUnitCtrl::DIM_NONE;
        stored.GetDimCode(&dimension, nullptr, nullptr, nullptr);
        columns[c].unit = RequireUnit(units[c], dimension);
        if (!IsConvertible(stored, columns[c].unit)) {
            throw ValueError("--unit: channel " + Quote(columns[c].channel.name) + " is in " +
                             Quote(UnitText(stored)) + ", which does not convert to " + Quote(units[c]));
        }
    }
    return columns;
}

// ---- CSV ----

/// The shortest number in `unit` that is stored as the same value again: the digits that were imported. Where
/// the conversion reaches no such number, the nearest one.
std::string ExactNumber(const CUnitCtrl& unit, double stored) {
    constexpr int kSafeDigits = 15;  // so many decimal digits survive being a double
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const int absolute = unit.IsSingle();
    const double value = unit.ConvDtoI(stored, 1.0, absolute);
    const auto storesAlike = [&](double candidate) {
        return unit.ConvItoD(candidate, 1.0, absolute) == stored;
    };
    if (value == stored && storesAlike(value)) return FormatExact(value);
    const std::string rounded = FormatNumber(value, kSafeDigits);
    double parsed = 0.0;
    std::from_chars(rounded.data(), rounded.data() + rounded.size(), parsed);
    if (storesAlike(parsed)) return rounded;
    for (const double candidate : {std::nextafter(value, -kInfinity), std::nextafter(value, kInfinity)}) {
        if (!storesAlike(value) && storesAlike(candidate)) return FormatExact(candidate);
    }
    return FormatExact(value);
}

/// Collects text and passes it on in large pieces.
class CsvWriter {
public:
    explicit CsvWriter(ByteStream& stream) : stream_(stream) { text_.reserve(2 * kPiece); }

    void Add(std::string_view text) { text_ += text; }
    /// A value stored in the standard unit, as a number in `unit`; nothing for the no-value marker.
    void Add(const CUnitCtrl& unit, double stored) {
        if (stored != kNoValue<double>) text_ += ExactNumber(unit, stored);
    }
    void EndLine() {
        text_ += '\n';
        if (text_.size() >= kPiece) Flush();
    }
    void Flush() {
        stream_.Write(text_.data(), text_.size());
        text_.clear();
    }

private:
    static constexpr std::size_t kPiece = 1 << 16;
    ByteStream& stream_;
    std::string text_;
};

/// "name [unit]", in quotes where the comma rules want it.
std::string CsvHeading(const std::wstring& name, const std::string& part, const CUnitCtrl& unit) {
    const std::string text = Printable(ToUtf8(name)) + part + " [" + UnitText(unit) + "]";
    if (text.find_first_of(",\"") == std::string::npos && text.front() != '#') return text;
    std::string quoted = "\"";
    for (const char c : text) quoted += c == '"' ? "\"\"" : std::string(1, c);
    return quoted + "\"";
}

std::string AxisHeading(const CComDataBase& record) {
    CUnitCtrl::DIM_CODE dimension = CUnitCtrl::DIM_NONE;
    record.GetHUnit().GetDimCode(&dimension, nullptr, nullptr, nullptr);
    const bool isTime = dimension == CUnitCtrl::DIM_TIME;
    const bool isFrequency = dimension == CUnitCtrl::DIM_FREQUENCY;
    return CsvHeading(isTime ? L"time" : isFrequency ? L"frequency" : L"axis", "", CUnitCtrl(dimension));
}

void WriteCsv(const std::vector<Column>& columns, ByteStream& stream, Progress& progress) {
    const CComDataBase& axis = *columns.front().record;
    CsvWriter csv(stream);
    csv.Add(AxisHeading(axis));
    for (const Column& column : columns) {
        csv.Add("," + CsvHeading(column.channel.name, column.imaginary ? " re" : "", column.unit));
        if (column.imaginary) csv.Add("," + CsvHeading(column.channel.name, " im", column.unit));
    }
    csv.EndLine();
    const CDataArrayDouble* axisValues = axis.GetHData();
    for (__int64 i = 0; i < axis.GetNsamp(); ++i) {
        csv.Add(FormatExact(axisValues ? axisValues->GetData()[i]
                                       : static_cast<double>(axis.GetOffset() + i) * axis.GetDelta()));
        for (const Column& column : columns) {
            csv.Add(",");
            csv.Add(column.unit, column.real[i]);
            if (!column.imaginary) continue;
            csv.Add(",");
            csv.Add(column.unit, column.imaginary[i]);
        }
        csv.EndLine();
        if (i % 4096 == 0)
            progress.Update(static_cast<std::uint64_t>(i), static_cast<std::uint64_t>(axis.GetNsamp()));
    }
    csv.Flush();
}

// ---- WAV ----

/// Passes the scaled samples of all columns on, block by block: use(channels, count, done). Returns the
/// scales, which have seen all of them.
template <typename Use>
std::vector<WavScale> ScaleBlocks(const std::vector<Column>& columns, const WavOptions& options, Use use) {
    constexpr __int64 kBlock = 1 << 15;
    std::vector<WavScale> scales;
    for (const Column& column : columns) {
        scales.emplace_back(SignalRun::Channel{column.channel.name, column.unit}, options);
    }
    std::vector<std::vector<double>> block(columns.size());
    const __int64 total = columns.front().record->GetNsamp();
    for (__int64 done = 0; done < total; done += kBlock) {
        const __int64 count = std::min(kBlock, total - done);
        std::vector<const double*> channels;
        for (std::size_t c = 0; c < columns.size(); ++c) {
            block[c].assign(columns[c].real + done, columns[c].real + done + count);
            scales[c].Apply(block[c]);
            channels.push_back(block[c].data());
        }
        use(channels, static_cast<std::size_t>(count), done);
    }
    return scales;
}

/// Throws Error where the columns cannot be a WAV file.
void RequireWav(const std::vector<Column>& columns, const WavOptions& options) {
    WavRate(columns.front().record->GetDelta());
    for (const Column& column : columns) {
        if (!IsWaveform(*column.record))
            throw Error(ErrorKind::kBadValue, "a WAV file holds time waveforms only; choose CSV");
        RequireValues(column.real, column.record->GetNsamp(), column.channel.name);
    }
    const auto ignore = [](const auto&...) {};
    for (const WavScale& scale : ScaleBlocks(columns, options, ignore)) scale.RequireUnclipped();
}

void WriteWav(const std::vector<Column>& columns, const ExportOptions& options, Progress& progress) {
    const CComDataBase& axis = *columns.front().record;
    OutputTarget target(options.output.name);
    WavWriter file(target.Path(), columns.size(), axis.GetNsamp(), WavRate(axis.GetDelta()),
                   WavSamplesOf(options.wav));
    ScaleBlocks(columns, options.wav,
                [&](const std::vector<const double*>& channels, std::size_t count, __int64 done) {
                    file.Write(channels, count);
                    progress.Update(static_cast<std::uint64_t>(done),
                                    static_cast<std::uint64_t>(axis.GetNsamp()));
                });
    file.Commit();
    target.Deliver();
}

void RunExport(const ExportOptions& options, ByteStream& out) {
    const std::string& output = options.output.name;
    RequireAnotherFile(options.input, output);
    const bool isWav = FormatOf(options.output, kExportFormats) == OutputFormat::wav;
    if (options.wav.fullScale && !isWav) throw UsageError("--full-scale is for WAV files");
    WavSamplesOf(options.wav);
    Progress progress("exporting " + InputName(options.input));
    DataFileContent content;
    std::vector<Column> columns;
    Doing("export", options.input, [&] {
        content = LoadDataFile(options.input);
        columns = MakeColumns(content, options);
        if (isWav) RequireWav(columns, options.wav);
    });
    Doing("write", output, [&] {
        if (isWav) {
            WriteWav(columns, options, progress);
        } else if (IsStandardStream(output)) {
            WriteCsv(columns, StandardOutput(), progress);
        } else {
            OutputFile file(WidePath(output));
            WriteCsv(columns, file, progress);
            file.Commit();
        }
    });
    if (IsStandardStream(output)) return;
    WriteText(out, OutputName(output) + ": " + Count(std::ssize(columns), "channel") + " of " +
                       Count(columns.front().record->GetNsamp(), "sample") + "\n");
}

}  // namespace

void AddExport(Command app) {
    const auto options = std::make_shared<ExportOptions>();
    Command command = app.AddCommand("export", "Write records as a CSV table or a WAV file");
    command.AddOption("FILE", options->input, "Data file").Required();
    AddOutputOptions(command, "Output: a CSV table or sound", kExportFormats, &options->output).Required();
    command.AddOption("--unit", options->units, "Unit of the values, one for all channels or a list")
        .Type("LIST");
    AddChannelOptions(command, &options->channels);
    AddSamplesOption(command, &options->wav.samples);
    command
        .AddOption("--full-scale", options->wav.fullScale,
                   "Value that becomes full scale of the WAV file (default 1)")
        .Type("VALUE")
        .Check(PositiveNumber());
    command.SetFooter(
        "CSV has a heading line, the time in s or the frequency in Hz, and every number with the digits "
        "that\n"
        "read back as the same value; complex channels take two columns.\n\n"
        "Example:\n"
        "  printf '0,0.1\\n0.5,0.3\\n1,-0.2\\n' > shaker.csv\n"
        "  kvx import shaker.csv -o shaker.vdf2 --unit g --name top\n"
        "  kvx export shaker.vdf2 -o - --unit m/s2\n"
        "  kvx export shaker.vdf2 -o shaker.wav --samples pcm24 --full-scale 0.5");
    command.OnRun([=](ByteStream& out) { RunExport(*options, out); });
}

}  // namespace kvx::tool
