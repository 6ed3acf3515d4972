// SPDX-License-Identifier: MIT
//
// kvx info: what a file of the suite holds.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/files/ComHdr.h>
#include <KvxDevCommon01/files/FileHead.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/ConvData.h>
#include <KvxDevCommon01/units/UnitText.h>
#include <KvxDevCommon01/units/ValConv.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
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

/// Of the samples that hold a value; in a complex record, of their magnitudes.
struct Statistics {
    __int64 missing = 0;
    double mean = 0.0;
    double rms = 0.0;
    double min = 0.0;
    double max = 0.0;
    double peak = 0.0;
};

Statistics Measure(const CComDataBase& record, const Channel& channel) {
    CDataArrayDouble values = ViewedSamples(record, record.GetReal(channel.row, channel.column));
    if (const double* imaginary = record.GetImaginary(channel.row, channel.column)) {
        const CDataArrayDouble other = ViewedSamples(record, imaginary);
        for (__int64 i = 0; i < values.GetNum(); ++i) {
            if (values[i] != kNoValue<double>) values[i] = std::hypot(values[i], other[i]);
        }
    }
    CDataArrayDouble present;
    Statistics statistics;
    double* begin = values.GetData();
    double* end = std::remove(begin, begin + values.GetNum(), kNoValue<double>);
    statistics.missing = values.GetNum() - (end - begin);
    if (end == begin) return statistics;
    if (!present.SetData(end - begin, begin)) throw std::bad_alloc();
    statistics.mean = present.GetAve();
    statistics.rms = present.CalcRms(0, 0);
    present.GetMinMax(0, &statistics.min, &statistics.max);
    statistics.peak = present.GetAbsMax(0, 0);
    return statistics;
}

std::string TypeOf(const CComDataBase& record) {
    const bool isComplex = record.GetImaginary(0, 0) != nullptr;
    if (record.GetHUnit() == CUnitCtrl::DIM_TIME) return isComplex ? "complex waveform" : "time waveform";
    if (record.GetHUnit() == CUnitCtrl::DIM_FREQUENCY)
        return isComplex ? "complex spectrum" : "real spectrum";
    return isComplex ? "complex data" : "real data";
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

Axis AxisOf(const CComDataBase& record) {
    Axis axis;
    CUnitCtrl::DIM_CODE dimension = CUnitCtrl::DIM_NONE;
    record.GetHUnit().GetDimCode(&dimension, nullptr, nullptr, nullptr);
    axis.unit = CUnitCtrl(dimension);
    const __int64 last = record.GetNsamp() - 1;
    axis.isEven = record.GetDataMode() == CComDataBase::MODE_SPACING;
    if (axis.isEven) {
        axis.delta = record.GetDelta();
        axis.offset = record.GetOffset();
        axis.first = static_cast<double>(axis.offset) * axis.delta;
        axis.last = static_cast<double>(axis.offset + last) * axis.delta;
    } else if (const CDataArrayDouble* values = record.GetHData()) {
        axis.first = (*values)[0];
        axis.last = (*values)[last];
    }
    return axis;
}

Json JsonOf(const CComDataBase& record, const std::vector<Channel>& channels, std::size_t index) {
    const Axis axis = AxisOf(record);
    CString dimension;
    record.GetUnit().GetDimName(&dimension);
    Json axisJson = {{"unit", UnitText(axis.unit)}, {"first", axis.first}, {"last", axis.last}};
    if (axis.isEven) {
        axisJson["delta"] = axis.delta;
        axisJson["offset"] = axis.offset;
    }
    if (IsWaveform(record)) {
        axisJson["rate"] = RateOf(record);
        axisJson["duration"] = static_cast<double>(record.GetNsamp()) * axis.delta;
    }
    Json names = Json::array();
    for (const CString& name : record.GetColName()) names.push_back(ToUtf8(name));
    Json json = {{"record", index + 1},
                 {"type", TypeOf(record)},
                 {"mode", static_cast<int>(record.GetDataMode())},
                 {"rows", record.GetNumRow()},
                 {"columns", record.GetNumCol()},
                 {"samples", record.GetNsamp()},
                 {"unit", UnitText(record.GetUnit())},
                 {"dimension", ToUtf8(dimension)},
                 {"axis", axisJson},
                 {"columnNames", names},
                 {"channels", Json::array()}};
    for (const Channel& channel : channels) {
        if (channel.record != index) continue;
        const Statistics statistics = Measure(record, channel);
        json["channels"].push_back({{"channel", channel.number},
                                    {"row", channel.row + 1},
                                    {"column", channel.column + 1},
                                    {"name", ToUtf8(channel.name)},
                                    {"missing", statistics.missing},
                                    {"mean", statistics.mean},
                                    {"rms", statistics.rms},
                                    {"min", statistics.min},
                                    {"max", statistics.max},
                                    {"peak", statistics.peak}});
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

std::string TextOf(const CComDataBase& record, const std::vector<Channel>& channels, std::size_t index) {
    const Axis axis = AxisOf(record);
    std::string text = "record " + std::to_string(index + 1) + ": " + TypeOf(record) + ", " +
                       Count(record.GetNumRow(), "row") + " x " + Count(record.GetNumCol(), "column") +
                       " of " + Count(record.GetNsamp(), "sample") + ", unit " + UnitText(record.GetUnit()) +
                       "\n  ";
    if (IsWaveform(record)) {
        text += "rate " + AxisFigure(CUnitCtrl::DIM_FREQUENCY, RateOf(record)) + ", from " +
                AxisFigure(axis.unit, axis.first) + " (offset " + std::to_string(axis.offset) +
                "), duration " + AxisFigure(axis.unit, static_cast<double>(record.GetNsamp()) * axis.delta) +
                "\n";
    } else {
        text += axis.isEven ? "spacing " + AxisFigure(axis.unit, axis.delta) : "an axis value per sample";
        text +=
            ", from " + AxisFigure(axis.unit, axis.first) + " to " + AxisFigure(axis.unit, axis.last) + "\n";
    }
    if (record.GetImaginary(0, 0) != nullptr) text += "  figures are those of the magnitudes\n";
    // The figures of a spectrum are not those of an amplitude.
    const bool isAmplitude = IsWaveform(record) && record.GetUnit().IsAccOrVelOrDisp();
    const CValConv::UNIT_SUFFIX rms = isAmplitude ? CValConv::SUFFIX_RMS : CValConv::SUFFIX_NONE;
    const CValConv::UNIT_SUFFIX peak = isAmplitude ? CValConv::SUFFIX_ZERO_TO_PEAK : CValConv::SUFFIX_NONE;
    const auto heading = [&](const char* name, CValConv::UNIT_SUFFIX suffix) {
        return FigureHeading(name, record.GetUnit(), suffix);
    };
    std::vector<std::vector<std::string>> lines = {
        {"channel", "name", heading("mean", CValConv::SUFFIX_NONE), heading("rms", rms),
         heading("min", CValConv::SUFFIX_NONE), heading("max", CValConv::SUFFIX_NONE),
         heading("peak", peak)}};
    __int64 missing = 0;
    for (const Channel& channel : channels) {
        if (channel.record != index) continue;
        const Statistics s = Measure(record, channel);
        missing += s.missing;
        lines.push_back({std::to_string(channel.number), ToUtf8(channel.name), Figure(s.mean), Figure(s.rms),
                         Figure(s.min), Figure(s.max), Figure(s.peak)});
    }
    if (missing > 0) text += "  " + Count(missing, "sample") + " without a value left out\n";
    return text + FormatTable({Align::right, Align::left, Align::right, Align::right, Align::right,
                               Align::right, Align::right},
                              lines);
}

void RunInfo(const InfoOptions& options, ByteStream& out) {
    std::string text;
    Doing("read", options.file, [&] {
        InputFile file(WidePath(InputPath(options.file)));
        const HeaderFacts facts = ReadFacts(options.file, file);
        DataFileContent content;
        if (facts.isData) {
            file.Seek(0);
            content = kvx::LoadDataFile(file);
        }
        const std::vector<Channel> channels = ListChannels(content);
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
            for (std::size_t r = 0; r < content.records.size(); ++r) {
                json["records"].push_back(JsonOf(content.records[r], channels, r));
            }
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
        for (std::size_t r = 0; r < content.records.size(); ++r) {
            text += "\n" + TextOf(content.records[r], channels, r);
        }
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
    command.SetFooter(
        "Figures are in the unit of the record; peak is the largest magnitude.\n\n"
        "Example:\n"
        "  printf '0,0.1\\n0.5,0.3\\n1,0.2\\n' | kvx import /dev/stdin -o shaker.vdf2 --unit g --text "
        "'Shaker 3'\n"
        "  kvx info shaker.vdf2");
    command.OnRun([=](ByteStream& out) { RunInfo(*options, out); });
}

}  // namespace kvx::tool
