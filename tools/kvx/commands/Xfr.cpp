// SPDX-License-Identifier: MIT
//
// kvx xfr: averaged transfer functions and their coherence.
#include <algorithm>
#include <cmath>
#include <iterator>
#include <memory>
#include <new>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/dsp/AveragedTransfer.h>
#include <KvxDevCommon01/dsp/MatBasic.h>
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/platform/Text.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/Progress.h"
#include "cli/StandardStreams.h"
#include "commands/Blocks.h"
#include "commands/Commands.h"
#include "commands/DataFiles.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

struct XfrOptions {
    std::string input;
    OutputChoice output;  ///< empty for a report only
    std::string reference = "1";
    std::string responses;  ///< empty for all but the reference
    BlockOptions blocks;
    BandOptions band;
    std::string at;
    bool json = false;
};

/// One line of a transfer function, in the unit of the report.
struct Line {
    double hz;
    double real;
    double imaginary;
    double magnitude;
    double phaseDegrees;
    double coherence;
};

struct ResponseReport {
    Channel channel;
    std::string unit;  ///< of the transfer function
    Line largest;
    std::vector<Line> lines;  ///< those asked for
};

/// What all responses are related to.
struct Reference {
    Channel channel;
    const CComDataBase* record;
    CDataArrayDouble samples;
};

/// The frequencies that --at lists; throws ValueError.
std::vector<double> WantedFrequencies(const XfrOptions& options) {
    std::vector<double> frequencies;
    if (options.at.empty()) return frequencies;
    for (const std::string& piece : SplitList(options.at)) {
        frequencies.push_back(ParseArgument(piece));
        if (frequencies.back() < 0.0) throw ValueError("--at: there is no line below 0 Hz");
    }
    return frequencies;
}

Reference ReadReference(const DataFileContent& content, const XfrOptions& options) {
    const std::vector<ChosenWaveforms> chosen = SelectWaveforms(content, {options.reference, 0});
    if (chosen.size() != 1 || chosen.front().channels.size() != 1) {
        throw Error(ErrorKind::kBadValue,
                    "--reference " + Quote(options.reference) + " names several channels");
    }
    const Channel& channel = chosen.front().channels.front();
    RequireBlock(*chosen.front().record, options.blocks);
    return {channel, chosen.front().record, StandardSamples(*chosen.front().record, channel)};
}

std::vector<ChosenWaveforms> ReadResponses(const DataFileContent& content, const Reference& reference,
                                           const XfrOptions& options) {
    std::vector<ChosenWaveforms> chosen = SelectWaveforms(content, {options.responses, 0});
    for (ChosenWaveforms& waveforms : chosen) {
        const auto isReference = [&](const Channel& c) { return c.number == reference.channel.number; };
        if (std::erase_if(waveforms.channels, isReference) > 0 && !options.responses.empty()) {
            throw Error(ErrorKind::kBadValue,
                        "channel " + Quote(reference.channel.name) + " is the reference, not a response");
        }
    }
    std::erase_if(chosen, [](const ChosenWaveforms& waveforms) { return waveforms.channels.empty(); });
    if (chosen.empty()) throw Error(ErrorKind::kBadValue, "it has no channel but the reference");
    for (const ChosenWaveforms& waveforms : chosen) {
        const CComDataBase& record = *waveforms.record;
        if (record.GetDelta() != reference.record->GetDelta() ||
            record.GetNsamp() != reference.record->GetNsamp() ||
            record.GetOffset() != reference.record->GetOffset()) {
            throw Error(ErrorKind::kBadValue,
                        "channel " + Quote(waveforms.channels.front().name) +
                            " was not sampled together with the reference: rate, count or start differ");
        }
    }
    return chosen;
}

/// The response's unit over the reference's; throws Error for a compound.
CUnitCtrl RequireTransferUnit(const CUnitCtrl& response, const CUnitCtrl& reference) {
    if (const std::optional<CUnitCtrl> unit = TransferUnit(response, reference)) return *unit;
    throw Error(ErrorKind::kBadValue, "the unit " +
                                          Quote(UnitText(response.IsSingle() ? reference : response)) +
                                          " is a compound, which makes no transfer function");
}

Line LineAt(const CDataArrayDoubleCplx& xfr, const CDataArrayDouble& coherence, __int64 k, double spacingHz,
            const CUnitCtrl& unit) {
    Line line = {static_cast<double>(k) * spacingHz,
                 unit.ConvDtoI(xfr.GetReal()[k], 1.0, 0),
                 unit.ConvDtoI(xfr.GetImaginary()[k], 1.0, 0),
                 0.0,
                 0.0,
                 coherence[k]};
    CMatBasic::FouToAmpFltN(&line.real, &line.imaginary, &line.magnitude, &line.phaseDegrees, 1, 1);
    return line;
}

nlohmann::ordered_json JsonOf(const Line& line) {
    return {{"hz", line.hz},
            {"real", line.real},
            {"imaginary", line.imaginary},
            {"magnitude", line.magnitude},
            {"phase", line.phaseDegrees},
            {"coherence", line.coherence}};
}

/// The transfer functions of a file, record by record, and the report on them. The content and the options
/// stay with the caller.
class TransferAnalysis {
public:
    TransferAnalysis(const DataFileContent& content, const XfrOptions& options)
        : options_(options),
          wantedHz_(WantedFrequencies(options)),
          window_(MakeWindow(options.blocks)),
          reference_(ReadReference(content, options)),
          rateHz_(RateOf(*reference_.record)),
          spacingHz_(rateHz_ / static_cast<double>(options.blocks.size)),
          lineCount_(options.blocks.size / 2),
          band_(BandLines(options.band, spacingHz_, lineCount_)) {
        for (const double hz : wantedHz_) {
            if (!(std::round(hz / spacingHz_) < static_cast<double>(lineCount_))) {
                throw Error(ErrorKind::kBadValue,
                            "its last line is at " +
                                FormatNumber(static_cast<double>(lineCount_ - 1) * spacingHz_, 10) +
                                " Hz, not at " + FormatNumber(hz) + " Hz");
            }
        }
    }

    void Run(const DataFileContent& content, Progress& progress) {
        const std::vector<ChosenWaveforms> chosen = ReadResponses(content, reference_, options_);
        std::size_t total = 0;
        CStringArray names;
        for (const ChosenWaveforms& waveforms : chosen) {
            total += waveforms.channels.size();
            std::ranges::copy(NamesOf(waveforms.channels), std::back_inserter(names));
        }
        CComDataSpecA coherence(spacingHz_, std::ssize(names), 1, lineCount_, 0, CUnitCtrl(), &names,
                                &referenceName_);
        for (const ChosenWaveforms& waveforms : chosen) {
            const CUnitCtrl unit =
                RequireTransferUnit(waveforms.record->GetUnit(), reference_.record->GetUnit());
            const CStringArray rows = NamesOf(waveforms.channels);
            CComDataSpecF transfer(spacingHz_, std::ssize(rows), 1, lineCount_, 0, unit, &rows,
                                   &referenceName_);
            for (__int64 row = 0; row < std::ssize(rows); ++row) {
                Analyse(*waveforms.record, waveforms.channels[static_cast<std::size_t>(row)], unit,
                        transfer.GetReal(row, 0), transfer.GetImaginary(row, 0),
                        coherence.GetReal(std::ssize(reports_), 0));
                progress.Update(reports_.size(), total);
            }
            records_.push_back(std::move(transfer));
        }
        records_.push_back(std::move(coherence));
    }

    std::vector<CComDataBase> TakeRecords() { return std::move(records_); }
    bool IsSingleBlock() const { return blockCount_ == 1; }

    std::string Json() const {
        nlohmann::ordered_json json = {{"file", options_.input},
                                       {"block", options_.blocks.size},
                                       {"window", options_.blocks.window},
                                       {"overlap", OverlapSamples(options_.blocks)},
                                       {"rate", rateHz_},
                                       {"lineSpacing", spacingHz_},
                                       {"blocks", blockCount_},
                                       {"reference",
                                        {{"channel", reference_.channel.number},
                                         {"name", ToUtf8(reference_.channel.name)},
                                         {"unit", UnitText(reference_.record->GetUnit())}}},
                                       {"responses", nlohmann::ordered_json::array()}};
        for (const ResponseReport& report : reports_) {
            nlohmann::ordered_json response = {{"channel", report.channel.number},
                                               {"name", ToUtf8(report.channel.name)},
                                               {"unit", report.unit},
                                               {"largest", JsonOf(report.largest)}};
            if (!report.lines.empty()) response["at"] = nlohmann::ordered_json::array();
            for (const Line& line : report.lines) response["at"].push_back(JsonOf(line));
            json["responses"].push_back(std::move(response));
        }
        return json.dump(2) + "\n";
    }

    std::string Text() const {
        std::string text = "reference " + Printable(ToUtf8(reference_.channel.name)) + ": " +
                           BlocksText(options_.blocks, blockCount_, rateHz_) + BandText(options_.band) + "\n";
        Cells largest = {{"channel", "name", "largest", "", "line", "", "coherence"}};
        for (const ResponseReport& report : reports_) {
            largest.push_back({std::to_string(report.channel.number), ToUtf8(report.channel.name),
                               FormatNumber(report.largest.magnitude), report.unit,
                               FormatNumber(report.largest.hz, 7), "Hz",
                               FormatNumber(report.largest.coherence)});
        }
        text += FormatTable(
            {Align::right, Align::left, Align::right, Align::left, Align::right, Align::left, Align::right},
            largest);
        return wantedHz_.empty() ? text : text + LinesText();
    }

private:
    using Cells = std::vector<std::vector<std::string>>;

    void Analyse(const CComDataBase& record, const Channel& channel, const CUnitCtrl& unit, double* real,
                 double* imaginary, double* coherence) {
        AveragedTransfer transfer;
        CDataArrayDoubleCplx xfr;
        CDataArrayDouble coherences;
        if (real == nullptr || coherence == nullptr ||
            !transfer.Begin(window_, OverlapSamples(options_.blocks))) {
            throw std::bad_alloc();
        }
        blockCount_ = transfer.Add(reference_.samples, StandardSamples(record, channel));
        if (!transfer.GetTransfer(&xfr) || !transfer.GetCoherence(&coherences)) throw std::bad_alloc();
        RequireNumbers(coherences, channel.name);
        std::copy_n(xfr.GetReal(), lineCount_, real);
        std::copy_n(xfr.GetImaginary(), lineCount_, imaginary);
        std::copy_n(coherences.GetData(), lineCount_, coherence);

        const auto lineAt = [&](__int64 k) { return LineAt(xfr, coherences, k, spacingHz_, unit); };
        CDataArrayDouble magnitudes(lineCount_, nullptr);
        CDataArrayDouble phases(lineCount_, nullptr);
        if (!CMatBasic::FouToAmpFltN(xfr.GetReal(), xfr.GetImaginary(), magnitudes.GetData(),
                                     phases.GetData(), lineCount_, 0)) {
            throw std::bad_alloc();
        }
        ResponseReport report = {channel, UnitText(unit), lineAt(HighestLine(magnitudes, band_)), {}};
        for (const double hz : wantedHz_)
            report.lines.push_back(lineAt(static_cast<__int64>(std::round(hz / spacingHz_))));
        reports_.push_back(std::move(report));
    }

    std::string LinesText() const {
        Cells cells = {
            {"channel", "name", "line", "", "real", "imaginary", "magnitude", "", "phase", "", "coherence"}};
        for (const ResponseReport& report : reports_) {
            for (const Line& line : report.lines) {
                cells.push_back({std::to_string(report.channel.number), ToUtf8(report.channel.name),
                                 FormatNumber(line.hz, 7), "Hz", FormatNumber(line.real),
                                 FormatNumber(line.imaginary), FormatNumber(line.magnitude), report.unit,
                                 FormatNumber(line.phaseDegrees, 4), "deg", FormatNumber(line.coherence)});
            }
        }
        return FormatTable({Align::right, Align::left, Align::right, Align::left, Align::right, Align::right,
                            Align::right, Align::left, Align::right, Align::left, Align::right},
                           cells);
    }

    const XfrOptions& options_;
    std::vector<double> wantedHz_;
    CDataArrayDouble window_;
    Reference reference_;
    CStringArray referenceName_ = {reference_.channel.name};
    double rateHz_;
    double spacingHz_;
    __int64 lineCount_;
    Band band_;
    __int64 blockCount_ = 0;
    std::vector<ResponseReport> reports_;
    std::vector<CComDataBase> records_;
};

void RunXfr(const XfrOptions& options, ByteStream& out) {
    RequireLinesOutput(options.input, options.output);
    MakeWindow(options.blocks);
    OverlapSamples(options.blocks);
    WantedFrequencies(options);
    DataFileContent content;
    std::optional<TransferAnalysis> analysis;
    Doing("analyse", options.input, [&] {
        Progress progress("analysing " + InputName(options.input));
        content = LoadDataFile(options.input);
        analysis.emplace(content, options);
        analysis->Run(content, progress);
    });
    const std::string& output = options.output.name;
    if (!output.empty()) {
        Doing("write", output,
              [&] { StoreDataFile(output, content.header.GetName(), analysis->TakeRecords()); });
    }
    if (analysis->IsSingleBlock()) Note("the coherence of a single block is always 1");
    WriteText(ReportStream(output, out), options.json ? analysis->Json() : analysis->Text());
}

}  // namespace

void AddXfr(Command app) {
    const auto options = std::make_shared<XfrOptions>();
    Command command = app.AddCommand("xfr", "Transfer functions and coherence of time waveforms");
    command.AddOption("FILE", options->input, "Data file with time waveforms").Required();
    AddLinesOutput(command, &options->output);
    command
        .AddOption("--reference", options->reference, "Channel that excites the others: its name or number")
        .Type("CHANNEL")
        .ShowDefault();
    command
        .AddOption("--response", options->responses,
                   "Channels by name, number or range as 'kvx info' shows them (default: all others)")
        .Type("LIST");
    AddBlockOptions(command, &options->blocks);
    AddBandOptions(command, "the largest magnitude", &options->band);
    command.AddOption("--at", options->at, "Report the lines nearest to these frequencies: 21,160.75")
        .Type("LIST");
    command.AddFlag("--json", options->json, "Report as JSON, with all digits");
    command.SetFooter(
        "H1: the averaged cross power over the averaged power of the reference. The output holds one "
        "complex\n"
        "record per unit of the responses, in that unit over the reference's, and last a record with the\n"
        "coherences; each response is a row, the reference the column. Blocks are cut as 'kvx psd' cuts "
        "them;\n"
        "blows that each fill a block, begin and end at rest, want --window rectangular --overlap 0.\n\n"
        "Example:\n"
        "  awk 'BEGIN { srand(1); print \"force [N],top [m/s2]\"; for (i = 0; i < 8192; ++i) {\n"
        "      f = rand() - 0.5; a = 1.9 * b - 0.95 * c + f; c = b; b = a; print f \",\" a } }' > beam.csv\n"
        "  kvx import beam.csv -o beam.vdf2 --rate 1024\n"
        "  kvx xfr beam.vdf2 -o beam-xfr.vdf2 --reference force --block 512 --at 20,40");
    command.OnRun([=](ByteStream& out) { RunXfr(*options, out); });
}

}  // namespace kvx::tool
