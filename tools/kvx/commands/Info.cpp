// SPDX-License-Identifier: MIT
//
// kvx info: what a file of the suite holds.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/data/Statistics.h>
#include <KvxDevCommon01/files/ComHdr.h>
#include <KvxDevCommon01/files/DataFileStream.h>
#include <KvxDevCommon01/files/FileHead.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/Parallel.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/ConvData.h>
#include <KvxDevCommon01/units/UnitText.h>
#include <KvxDevCommon01/units/ValConv.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/Progress.h"
#include "cli/StandardStreams.h"
#include "commands/Commands.h"
#include "commands/DataFiles.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

using Json = nlohmann::ordered_json;

struct InfoOptions {
    std::string file;
    bool json = false;
};

struct HeaderFacts {
    std::string kind;
    std::string extension;
    unsigned int value = 0;
    std::string code;
    int generation = 0;
    std::string application;
    std::string text;
    std::string version;
    std::string changed;  ///< empty for standard input
    bool isData = false;
};

std::string TimeText(const COleDateTime& time) {
    CString text;
    CValConv::GetDateTimeString(&text, time, CValConv::DATE_HYPHENS, CValConv::TIME_WESTERN, 1, 1);
    return ToUtf8(text);
}

/// Reads the head of an input that is open.
HeaderFacts ReadFacts(const std::string& input, InputFile& file) {
    const FileHead head = ReadFileHead(file);
    const CComHdr& header = head.header;
    HeaderFacts facts;
    CString kind;
    CString extension;
    CString application;
    CString version;
    header.GetExtInfo(&extension, &kind);
    header.GetAppTypeName(&application);
    BYTE numbers[4] = {};
    header.GetMasterVersion(&numbers[0], &numbers[1], &numbers[2], &numbers[3], nullptr);
    for (const BYTE number : numbers)
        facts.version += (facts.version.empty() ? "" : ".") + std::to_string(number);
    facts.kind = kind.empty() ? "unknown kind" : ToUtf8(kind);
    facts.extension = ToUtf8(extension);
    facts.value = header.GetExtInfoType(CComHdr::HDRCODE_CURRENT);
    facts.code = HexCode(header.GetTag().HdrCode);
    facts.generation = head.isFirstGeneration ? 1 : 2;
    facts.application = ToUtf8(application);
    facts.text = ToUtf8(header.GetName());
    if (!IsStandardStream(input)) facts.changed = TimeText(FileTime(WidePath(input)));
    facts.isData = header.CheckGrpType(CComHdr::GRP_DATA) != 0;
    return facts;
}

/// The axis in the standard unit of its dimension: seconds, hertz.
struct Axis {
    CUnitCtrl unit;
    bool isEven = false;
    double delta = 0.0;
    __int64 offset = 0;
    double first = 0.0;
    double last = 0.0;
};

/// The axis of record number `index` (0-based) of a file.
Axis AxisOf(DataFileReader& file, std::size_t index) {
    const RecordOutline& record = file.Records()[index];
    Axis axis;
    axis.unit = CUnitCtrl(DimensionOf(record.fields.hunit));
    const __int64 last = record.nsamp - 1;
    axis.isEven = record.fields.mode == CComDataBase::MODE_SPACING;
    if (axis.isEven) {
        axis.delta = record.fields.delta;
        axis.offset = record.fields.offset;
        axis.first = static_cast<double>(axis.offset) * axis.delta;
        axis.last = static_cast<double>(axis.offset + last) * axis.delta;
    } else {
        file.ReadAxis(static_cast<__int64>(index), 0, {&axis.first, 1});
        file.ReadAxis(static_cast<__int64>(index), last, {&axis.last, 1});
    }
    return axis;
}

/// `samples` in the unit of their record; what holds no value stays so.
void View(const CUnitCtrl& unit, const std::vector<double>& samples, std::vector<double>* viewed) {
    viewed->resize(samples.size());
    // A single temperature is a reading, not a difference; compounds only ever hold differences.
    unit.ConvDtoI(viewed->data(), samples.data(), std::ssize(samples), 1.0, unit.IsSingle());
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (samples[i] == kNoValue<double>) (*viewed)[i] = samples[i];
    }
}

/// The figures of channels of one record, in its unit; of complex ones those of the magnitudes. Throws Error.
std::vector<SampleFigures> Measure(DataFileReader& file, std::span<const Channel> channels) {
    constexpr std::size_t kSamples = std::size_t{1} << 16;  // of all channels that are read together
    const RecordOutline& record = file.Records()[channels.front().record];
    const auto room = static_cast<__int64>(std::max<std::size_t>(1, kSamples / channels.size()));
    struct Buffers {
        std::vector<double> real;
        std::vector<double> imaginary;
        std::vector<double> viewed;
        SampleStatistics statistics;
    };
    std::vector<Buffers> all(channels.size());
    for (__int64 done = 0; done < record.nsamp; done += room) {
        const __int64 count = std::min(room, record.nsamp - done);
        for (std::size_t c = 0; c < channels.size(); ++c) {
            all[c].real.resize(static_cast<std::size_t>(count));
            all[c].imaginary.resize(record.isComplex ? all[c].real.size() : 0);
            const SamplePlace place = {static_cast<__int64>(channels[c].record), channels[c].row,
                                       channels[c].column, done};
            file.ReadReal(place, all[c].real);
            if (record.isComplex) file.ReadImaginary(place, all[c].imaginary);
        }
        ForEachInParallel(all.size(), [&](std::size_t c) {
            View(record.fields.unit, all[c].real, &all[c].viewed);
            std::vector<double>& values = all[c].real;
            values.swap(all[c].viewed);
            if (record.isComplex) {
                View(record.fields.unit, all[c].imaginary, &all[c].viewed);
                for (std::size_t i = 0; i < values.size(); ++i) {
                    if (values[i] != kNoValue<double>) values[i] = std::hypot(values[i], all[c].viewed[i]);
                }
            }
            all[c].statistics.Add(values);
        });
    }
    std::vector<SampleFigures> figures;
    for (const Buffers& buffers : all) figures.push_back(buffers.statistics.Figures());
    return figures;
}

/// A record of the file with the figures of its channels.
struct RecordFacts {
    std::size_t index;  ///< from 0
    const RecordOutline& record;
    Axis axis;
    std::vector<Channel> channels;
    std::vector<SampleFigures> figures;  ///< of each channel
};

std::string TypeOf(const RecordOutline& record) {
    const bool isComplex = record.isComplex;
    const CUnitCtrl& axis = record.fields.hunit;
    if (axis == CUnitCtrl::DIM_TIME) return isComplex ? "complex waveform" : "time waveform";
    if (axis == CUnitCtrl::DIM_FREQUENCY) return isComplex ? "complex spectrum" : "real spectrum";
    return isComplex ? "complex data" : "real data";
}

Json JsonOf(const RecordFacts& facts) {
    const RecordOutline& record = facts.record;
    const CComDataBase::Fields& fields = record.fields;
    const Axis& axis = facts.axis;
    CString dimension;
    fields.unit.GetDimName(&dimension);
    Json axisJson = {{"unit", UnitText(axis.unit)}, {"first", axis.first}, {"last", axis.last}};
    if (axis.isEven) {
        axisJson["delta"] = axis.delta;
        axisJson["offset"] = axis.offset;
    }
    if (IsWaveform(record)) {
        axisJson["rate"] = 1.0 / axis.delta;
        axisJson["duration"] = static_cast<double>(record.nsamp) * axis.delta;
    }
    Json names = Json::array();
    for (const CString& name : fields.colNames) names.push_back(ToUtf8(name));
    Json json = {{"record", facts.index + 1},
                 {"type", TypeOf(record)},
                 {"mode", static_cast<int>(fields.mode)},
                 {"rows", record.rows},
                 {"columns", record.cols},
                 {"samples", record.nsamp},
                 {"unit", UnitText(fields.unit)},
                 {"dimension", ToUtf8(dimension)},
                 {"axis", axisJson},
                 {"columnNames", names},
                 {"channels", Json::array()}};
    for (std::size_t c = 0; c < facts.channels.size(); ++c) {
        const Channel& channel = facts.channels[c];
        const SampleFigures& figures = facts.figures[c];
        json["channels"].push_back({{"channel", channel.number},
                                    {"row", channel.row + 1},
                                    {"column", channel.column + 1},
                                    {"name", ToUtf8(channel.name)},
                                    {"missing", figures.missing},
                                    {"mean", figures.mean},
                                    {"rms", figures.rms},
                                    {"min", figures.min},
                                    {"max", figures.max},
                                    {"peak", figures.peak}});
    }
    return json;
}

/// A figure of the axis with its unit; with ten digits, for the customary two decimals of a frequency hide a
/// fine line spacing.
std::string AxisFigure(const CUnitCtrl& unit, double value) {
    CValConv converter;
    CString text;
    converter.SetFmt(L"%.10g");
    converter.SetUnit(unit);
    converter.ConvDataToString(value, &text);
    return ToUtf8(WithoutMarkup(text));
}

/// The heading of a column of figures: "peak [g 0-p]".
std::string FigureHeading(const char* name, const CUnitCtrl& unit, CValConv::UNIT_SUFFIX suffix) {
    CString text;
    CValConv(unit, suffix).GetUnitString(&text);
    text = WithoutMarkup(text);
    const bool isNamed = text.find_first_not_of(L' ') != text.npos;
    return isNamed ? name + (" [" + ToUtf8(text) + "]") : name;
}

/// A figure that is already in its unit.
std::string Figure(double value) {
    CString text;
    CConvData::ValToStr(value, &text, L"%.6g");
    return ToUtf8(text);
}

std::string TextOf(const RecordFacts& facts) {
    const RecordOutline& record = facts.record;
    const CUnitCtrl& unit = record.fields.unit;
    const Axis& axis = facts.axis;
    std::string text = "record " + std::to_string(facts.index + 1) + ": " + TypeOf(record) + ", " +
                       Count(record.rows, "row") + " x " + Count(record.cols, "column") + " of " +
                       Count(record.nsamp, "sample") + ", unit " + UnitText(unit) + "\n  ";
    if (IsWaveform(record)) {
        text += "rate " + AxisFigure(CUnitCtrl::DIM_FREQUENCY, 1.0 / axis.delta) + ", from " +
                AxisFigure(axis.unit, axis.first) + " (offset " + std::to_string(axis.offset) +
                "), duration " + AxisFigure(axis.unit, static_cast<double>(record.nsamp) * axis.delta) + "\n";
    } else {
        text += axis.isEven ? "spacing " + AxisFigure(axis.unit, axis.delta) : "an axis value per sample";
        text +=
            ", from " + AxisFigure(axis.unit, axis.first) + " to " + AxisFigure(axis.unit, axis.last) + "\n";
    }
    if (record.isComplex) text += "  figures are those of the magnitudes\n";
    // The figures of a spectrum are not those of an amplitude.
    const bool isAmplitude = IsWaveform(record) && unit.IsAccOrVelOrDisp();
    const CValConv::UNIT_SUFFIX rms = isAmplitude ? CValConv::SUFFIX_RMS : CValConv::SUFFIX_NONE;
    const CValConv::UNIT_SUFFIX peak = isAmplitude ? CValConv::SUFFIX_ZERO_TO_PEAK : CValConv::SUFFIX_NONE;
    const auto heading = [&](const char* name, CValConv::UNIT_SUFFIX suffix) {
        return FigureHeading(name, unit, suffix);
    };
    std::vector<std::vector<std::string>> lines = {
        {"channel", "name", heading("mean", CValConv::SUFFIX_NONE), heading("rms", rms),
         heading("min", CValConv::SUFFIX_NONE), heading("max", CValConv::SUFFIX_NONE),
         heading("peak", peak)}};
    __int64 missing = 0;
    for (std::size_t c = 0; c < facts.channels.size(); ++c) {
        const Channel& channel = facts.channels[c];
        const SampleFigures& s = facts.figures[c];
        missing += s.missing;
        lines.push_back({std::to_string(channel.number), ToUtf8(channel.name), Figure(s.mean), Figure(s.rms),
                         Figure(s.min), Figure(s.max), Figure(s.peak)});
    }
    if (missing > 0) text += "  " + Count(missing, "sample") + " without a value left out\n";
    return text + FormatTable({Align::right, Align::left, Align::right, Align::right, Align::right,
                               Align::right, Align::right},
                              lines);
}

/// What the records of a data file hold; the file must outlive it. Throws Error.
std::vector<RecordFacts> ReadRecords(DataFileReader& file, Progress& progress) {
    constexpr std::size_t kTogether = 64;  // channels that are measured at a time
    const std::vector<RecordOutline>& records = file.Records();
    const std::vector<Channel> channels = ListChannels(records);
    std::vector<RecordFacts> facts;
    std::size_t done = 0;
    for (std::size_t r = 0; r < records.size(); ++r) {
        RecordFacts& record = facts.emplace_back(RecordFacts{r, records[r], AxisOf(file, r), {}, {}});
        for (; done < channels.size() && channels[done].record == r; ++done)
            record.channels.push_back(channels[done]);
        const std::span<const Channel> all = record.channels;
        for (std::size_t c = 0; c < all.size(); c += kTogether) {
            const std::vector<SampleFigures> figures =
                Measure(file, all.subspan(c, std::min(kTogether, all.size() - c)));
            record.figures.insert(record.figures.end(), figures.begin(), figures.end());
            progress.Update(done - all.size() + record.figures.size(), channels.size());
        }
    }
    return facts;
}

void RunInfo(const InfoOptions& options, ByteStream& out) {
    std::string text;
    Doing("read", options.file, [&] {
        InputFile file(WidePath(InputPath(options.file)));
        const HeaderFacts facts = ReadFacts(options.file, file);
        Progress progress("reading " + InputName(options.file));
        std::optional<DataFileReader> reader;
        std::vector<RecordFacts> records;
        if (facts.isData) {
            file.Seek(0);
            reader.emplace(file);
            records = ReadRecords(*reader, progress);
        }
        if (options.json) {
            Json json = {{"file", options.file},
                         {"kind", facts.kind},
                         {"type", facts.value},
                         {"code", facts.code},
                         {"extension", facts.extension},
                         {"generation", facts.generation},
                         {"application", facts.application},
                         {"text", facts.text},
                         {"version", facts.version},
                         {"changed", facts.changed},
                         {"records", Json::array()}};
            for (const RecordFacts& record : records) json["records"].push_back(JsonOf(record));
            text = json.dump(2) + "\n";
            return;
        }
        text = InputName(options.file) + "\n" +
               FormatTable({Align::left, Align::left},
                           {{"kind", facts.kind + " (" + std::to_string(facts.value) + ", code " +
                                         facts.code + ", " + facts.extension + ")"},
                            {"generation", facts.generation == 1 ? "first" : "current"},
                            {"application", facts.application.empty() ? "-" : facts.application},
                            {"text", facts.text},
                            {"version", facts.version},
                            {"changed", facts.changed.empty() ? "-" : facts.changed}});
        if (!facts.isData)
            text += "a settings or definition file: it has the common header and no data records\n";
        for (const RecordFacts& record : records) text += "\n" + TextOf(record);
    });
    WriteText(out, text);
}

}  // namespace

void AddInfo(Command app) {
    const auto options = std::make_shared<InfoOptions>();
    Command command = app.AddCommand("info", "Describe a file of the suite and its data");
    command.AddOption("FILE", options->file, "File of either generation; one without data shows its header")
        .Required();
    command.AddFlag("--json", options->json, "As JSON, with all digits");
    command.SetFooter(R"(
Figures are in the unit of the record; peak is the largest magnitude.
)",
                      R"(
printf '0,0.1\n0.5,0.3\n1,0.2\n' | kvx import /dev/stdin -o shaker.vdf2 --unit g --text 'Shaker 3'
kvx info shaker.vdf2
)");
    command.OnRun([=](ByteStream& out) { RunInfo(*options, out); });
}

}  // namespace kvx::tool
