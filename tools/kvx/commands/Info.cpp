// SPDX-License-Identifier: MIT
//
// kvx info: what a file holds, whatever its format.
#include <fmt/format.h>
#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <KvxDevCommon01/files/FileHead.h>
#include <KvxDevCommon01/files/FileKinds.h>
#include <KvxDevCommon01/files/RecordFigures.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/ConvData.h>
#include <KvxDevCommon01/units/ShownValue.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxDevCommon01/units/ValConv.h>
#include <KvxRecording01/FileContent.h>
#include <KvxRecording01/SignalFigures.h>
#include <KvxRecording01/SignalRuns.h>

#include "cli/Batch.h"
#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/Progress.h"
#include "cli/StandardStreams.h"
#include "commands/Commands.h"
#include "commands/Signal.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

using Json = nlohmann::ordered_json;

struct InfoOptions {
    std::string file;
    bool json = false;
    PartOptions part;
    RecordingOptions recording;
};

/// When the file was last changed; empty for standard input.
std::string TimeText(const std::string& input) {
    if (IsStandardStream(input)) return {};
    CString text;
    CValConv::GetDateTimeString(&text, FileTime(WidePath(input)), CValConv::DATE_HYPHENS,
                                CValConv::TIME_WESTERN, 1, 1);
    return ToUtf8(text);
}

Json JsonOf(const SampleFigures& figures) {
    return {{"missing", figures.missing}, {"mean", figures.mean}, {"rms", figures.rms},
            {"min", figures.min},         {"max", figures.max},   {"peak", figures.peak}};
}

Json JsonOf(const RecordOutline& record, const RecordFigures& measured) {
    const CComDataBase::Fields& fields = record.fields;
    const RecordAxis& axis = measured.axis;
    const CUnitCtrl::DIM_CODE dimension = DimensionOf(fields.unit);
    Json axisJson = {{"unit", JsonUnit(axis.unit)}, {"first", axis.first}, {"last", axis.last}};
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
    Json json = {{"record", measured.record + 1},
                 {"type", RecordType(record)},
                 {"mode", static_cast<int>(fields.mode)},
                 {"rows", record.rows},
                 {"columns", record.cols},
                 {"samples", record.nsamp},
                 {"unit", JsonUnit(fields.unit)},
                 {"dimension", DimensionText(dimension)},
                 {"suiteDimension", DimensionDisplayName(dimension, Language::kJapanese)},
                 {"axis", axisJson},
                 {"columnNames", names},
                 {"channels", Json::array()}};
    for (std::size_t c = 0; c < measured.channels.size(); ++c) {
        const Channel& channel = measured.channels[c];
        Json shown = {{"channel", channel.number},
                      {"row", channel.row + 1},
                      {"column", channel.column + 1},
                      {"name", ToUtf8(channel.name)}};
        shown.update(JsonOf(measured.figures[c]));
        json["channels"].push_back(std::move(shown));
    }
    return json;
}

/// A figure of the axis with its unit; with ten digits, for the customary two decimals of a frequency hide a
/// fine line spacing.
std::string AxisFigure(const CUnitCtrl& unit, double value) {
    return ShownText(unit, value, {.format = L"%.10g"});
}

/// A figure that is already in its unit.
std::string Figure(double value) {
    CString text;
    CConvData::ValToStr(value, &text, L"%.6g");
    return ToUtf8(text);
}

std::string TextOf(const RecordOutline& record, const RecordFigures& measured) {
    const CUnitCtrl& unit = record.fields.unit;
    const RecordAxis& axis = measured.axis;
    std::string text =
        fmt::format("record {}: {}, {} x {} of {}, unit {}\n  ", measured.record + 1, RecordType(record),
                    Count(record.rows, "row"), Count(record.cols, "column"), Count(record.nsamp, "sample"),
                    UnitText(unit));
    if (IsWaveform(record)) {
        text += fmt::format("rate {}, from {} (offset {}), duration {}\n",
                            AxisFigure(CUnitCtrl::DIM_FREQUENCY, 1.0 / axis.delta),
                            AxisFigure(axis.unit, axis.first), axis.offset,
                            AxisFigure(axis.unit, static_cast<double>(record.nsamp) * axis.delta));
    } else {
        text += axis.isEven ? "spacing " + AxisFigure(axis.unit, axis.delta) : "an axis value per sample";
        text += fmt::format(", from {} to {}\n", AxisFigure(axis.unit, axis.first),
                            AxisFigure(axis.unit, axis.last));
    }
    if (record.isComplex) text += "  figures are those of the magnitudes\n";
    // The figures of a spectrum are not those of an amplitude.
    const bool isAmplitude = IsWaveform(record) && unit.IsAccOrVelOrDisp();
    const CValConv::UNIT_SUFFIX rms = isAmplitude ? CValConv::SUFFIX_RMS : CValConv::SUFFIX_NONE;
    const CValConv::UNIT_SUFFIX peak = isAmplitude ? CValConv::SUFFIX_ZERO_TO_PEAK : CValConv::SUFFIX_NONE;
    const auto heading = [&](const char* name, CValConv::UNIT_SUFFIX suffix) {
        return ColumnHeading(name, unit, suffix);
    };
    std::vector<std::vector<std::string>> lines = {
        {"channel", "name", heading("mean", CValConv::SUFFIX_NONE), heading("rms", rms),
         heading("min", CValConv::SUFFIX_NONE), heading("max", CValConv::SUFFIX_NONE),
         heading("peak", peak)}};
    __int64 missing = 0;
    for (std::size_t c = 0; c < measured.channels.size(); ++c) {
        const Channel& channel = measured.channels[c];
        const SampleFigures& s = measured.figures[c];
        missing += s.missing;
        lines.push_back({std::to_string(channel.number), ToUtf8(channel.name), Figure(s.mean), Figure(s.rms),
                         Figure(s.min), Figure(s.max), Figure(s.peak)});
    }
    if (missing > 0) text += "  " + Count(missing, "sample") + " without a value left out\n";
    return text + FormatTable({Align::right, Align::left, Align::right, Align::right, Align::right,
                               Align::right, Align::right},
                              lines);
}

Json JsonOf(const std::string& file, const CComHdr& header, bool isFirstGeneration) {
    const FileKind kind = KindOf(header);
    return {{"file", file},
            {"kind", kind.name.empty() ? "unknown kind" : kind.englishName},
            {"suiteKind", kind.suiteName},
            {"type", kind.type},
            {"code", HexCode(kind.code)},
            {"extension", kind.extension},
            {"generation", isFirstGeneration ? 1 : 2},
            {"application", kind.application},
            {"text", ToUtf8(header.GetName())},
            {"version", VersionText(header)},
            {"changed", TimeText(file)},
            {"records", Json::array()}};
}

/// The same facts as lines of text, with the name of the kind for a person.
std::string TextOf(const Json& facts, const std::string& kind) {
    const auto text = [&](const char* key) { return facts[key].get<std::string>(); };
    const auto orDash = [&](const char* key) { return text(key).empty() ? "-" : text(key); };
    return InputName(text("file")) + "\n" +
           FormatTable({Align::left, Align::left},
                       {{"kind", fmt::format("{} ({}, code {}, {})", kind.empty() ? text("kind") : kind,
                                             facts["type"].dump(), text("code"), text("extension"))},
                        {"generation", facts["generation"] == 1 ? "first" : "current"},
                        {"application", orDash("application")},
                        {"text", text("text")},
                        {"version", text("version")},
                        {"changed", orDash("changed")}});
}

// ---- recordings of other formats, and parts of data files ----

/// The figures of a run, in which channels may have units of their own.
std::string_view TypeOf(const SignalRun& run) {
    RecordOutline outline;
    outline.fields.hunit = run.axisUnit;
    outline.fields.mode = run.isListed ? CComDataBase::MODE_AXIS : CComDataBase::MODE_SPACING;
    outline.isComplex = std::ranges::any_of(run.channels, &SignalRun::Channel::isComplex);
    return RecordType(outline);
}

Json JsonOf(const SignalRun& run, const RunFigures& measured) {
    Json axis = {{"unit", JsonUnit(CUnitCtrl(DimensionOf(run.axisUnit)))},
                 {"first", measured.first},
                 {"last", measured.last}};
    if (!run.isListed) {
        axis["delta"] = run.delta;
        axis["offset"] = run.offset;
    }
    if (run.IsWaveform()) {
        axis["rate"] = RateOf(run);
        axis["duration"] = static_cast<double>(run.samples) * run.delta;
    }
    Json json = {{"record", run.record}, {"type", TypeOf(run)}, {"title", ToUtf8(run.title)}};
    if (run.start) json["start"] = run.start->Text();
    json.update({{"samples", run.samples}, {"axis", axis}, {"channels", Json::array()}});
    for (std::size_t c = 0; c < run.channels.size(); ++c) {
        const SignalRun::Channel& channel = run.channels[c];
        Json shown = {{"channel", channel.number},
                      {"name", ToUtf8(channel.name)},
                      {"unit", JsonUnit(channel.unit)},
                      {"complex", channel.isComplex}};
        shown.update(JsonOf(measured.channels[c]));
        json["channels"].push_back(std::move(shown));
    }
    return json;
}

std::string TextOf(const SignalRun& run, const RunFigures& measured) {
    const CUnitCtrl axis(DimensionOf(run.axisUnit));
    std::string text = fmt::format("record {}: {}, {} of {}{}\n  ", run.record, TypeOf(run),
                                   Count(std::ssize(run.channels), "channel"), Count(run.samples, "sample"),
                                   run.title.empty() ? "" : ", " + Printable(ToUtf8(run.title)));
    if (run.IsWaveform()) {
        text +=
            fmt::format("rate {}, from {} (offset {}), duration {}\n",
                        AxisFigure(CUnitCtrl::DIM_FREQUENCY, RateOf(run)), AxisFigure(axis, measured.first),
                        run.offset, AxisFigure(axis, static_cast<double>(run.samples) * run.delta));
    } else {
        text += run.isListed ? "an axis value per sample" : "spacing " + AxisFigure(axis, run.delta);
        text += fmt::format(", from {} to {}\n", AxisFigure(axis, measured.first),
                            AxisFigure(axis, measured.last));
    }
    if (run.start) text += "  started " + run.start->Text() + "\n";
    if (std::ranges::any_of(run.channels, &SignalRun::Channel::isComplex))
        text += "  figures of complex channels are those of the magnitudes\n";
    std::vector<std::vector<std::string>> lines = {
        {"channel", "name", "unit", "mean", "rms", "min", "max", "peak"}};
    __int64 missing = 0;
    for (std::size_t c = 0; c < run.channels.size(); ++c) {
        const SignalRun::Channel& channel = run.channels[c];
        const SampleFigures& s = measured.channels[c];
        missing += s.missing;
        lines.push_back({std::to_string(channel.number), ToUtf8(channel.name), UnitText(channel.unit),
                         Figure(s.mean), Figure(s.rms), Figure(s.min), Figure(s.max), Figure(s.peak)});
    }
    if (missing > 0) text += "  " + Count(missing, "sample") + " without a value left out\n";
    return text + FormatTable({Align::right, Align::left, Align::left, Align::right, Align::right,
                               Align::right, Align::right, Align::right},
                              lines);
}

std::string SignalText(const InfoOptions& options) {
    Progress progress("reading " + InputName(options.file));
    const std::unique_ptr<SignalReader> reader = OpenSignal(
        options.file, options.part, options.recording, false, progress, {.anyRun = true, .missing = true});
    const std::vector<RunFigures> figures = MeasureSignal(*reader, progress.Function());
    const std::string_view format = RecognizeFile(InputPath(options.file)).name;
    Json json = {{"file", options.file},           {"format", format},
                 {"text", ToUtf8(reader->Text())}, {"changed", TimeText(options.file)},
                 {"properties", Json::array()},    {"remarks", reader->Remarks()},
                 {"records", Json::array()}};
    std::vector<std::vector<std::string>> facts = {{"format", std::string(format)},
                                                   {"text", ToUtf8(reader->Text())},
                                                   {"changed", TimeText(options.file)}};
    for (const auto& [name, text] : reader->Properties()) {
        json["properties"].push_back({{"name", name}, {"text", text}});
        facts.push_back({name, text});
    }
    for (std::vector<std::string>& fact : facts)
        if (fact[1].empty()) fact[1] = "-";
    std::string text = InputName(options.file) + "\n" + FormatTable({Align::left, Align::left}, facts);
    for (std::size_t r = 0; r < figures.size(); ++r) {
        json["records"].push_back(JsonOf(reader->Runs()[r], figures[r]));
        text += "\n" + TextOf(reader->Runs()[r], figures[r]);
    }
    return options.json ? json.dump(2) + "\n" : text;
}

/// What any file of the suite holds, by its header and records.
std::string SuiteFileText(const InfoOptions& options) {
    InputFile file(WidePath(InputPath(options.file)));
    const FileHead head = ReadFileHead(file);
    Json json = JsonOf(options.file, head.header, head.isFirstGeneration);
    std::string text;
    if (!options.json) text = TextOf(json, KindOf(head.header).name);
    if (head.header.CheckGrpType(CComHdr::GRP_DATA)) {
        file.Seek(0);
        DataFileReader reader(file);
        Progress progress("reading " + InputName(options.file));
        for (const RecordFigures& measured : MeasureRecords(reader, progress.Function())) {
            const RecordOutline& record = reader.Records()[measured.record];
            if (options.json) {
                json["records"].push_back(JsonOf(record, measured));
            } else {
                text += "\n" + TextOf(record, measured);
            }
        }
    } else {
        text += "a settings or definition file: it has the common header and no data records\n";
    }
    return options.json ? json.dump(2) + "\n" : text;
}

void RunOne(const InfoOptions& options, ByteStream& out) {
    const std::string text = Doing("read", options.file, [&] {
        if (!IsDataFile(options.file) || !options.part.IsAll()) return SignalText(options);
        RequireNothingStated(options.recording);
        return SuiteFileText(options);
    });
    WriteText(out, text);
}

void RunInfo(const InfoOptions& options, const BatchOptions& batch, ByteStream& out) {
    const auto one = [&](const std::string& input, const OutputChoice&, ByteStream& report) {
        InfoOptions own = options;
        own.file = input;
        RunOne(own, report);
    };
    RunBatch(batch, {}, options.json ? BatchReports::json : BatchReports::paragraphs, one, out);
}

}  // namespace

void AddInfo(Command app) {
    const auto options = std::make_shared<InfoOptions>();
    const auto batch = std::make_shared<BatchOptions>();
    Command command = app.AddCommand("info", "Describe a recording of any format or a file of the suite");
    AddInputs(command, "FILE", "Recordings of any format; a file of the suite without data shows its header",
              batch.get());
    AddJobsOption(command, batch.get());
    command.AddFlag("--json", options->json, "As JSON, with all digits");
    AddPartOptions(command, &options->part);
    AddRecordingOptions(command, &options->recording);
    command.SetFooter(R"(
Figures are in the unit of the channel; peak is the largest magnitude. A recording is read once, block
by block, however long it is.
)",
                      R"(
printf '0,0.1\n0.5,0.3\n1,0.2\n' | kvx import /dev/stdin -o shaker.vdf2 --unit g --text 'Shaker 3'
kvx info shaker.vdf2
)");
    command.OnRun([=](ByteStream& out) { RunInfo(*options, *batch, out); });
}

}  // namespace kvx::tool
