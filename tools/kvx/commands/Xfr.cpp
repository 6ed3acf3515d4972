// SPDX-License-Identifier: MIT
//
// kvx xfr: averaged transfer functions and their coherence.
#include <algorithm>
#include <cmath>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/dsp/AveragedTransfer.h>
#include <KvxDevCommon01/dsp/MatBasic.h>
#include <KvxDevCommon01/files/SpectrumRecord.h>
#include <KvxDevCommon01/platform/Parallel.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/units/UnitQuery.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/Progress.h"
#include "cli/StandardStreams.h"
#include "commands/Blocks.h"
#include "commands/Commands.h"
#include "commands/Runs.h"

namespace kvx::tool {
namespace {

struct XfrOptions {
    InputOptions input;
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
    SignalRun::Channel channel;
    std::string unit;  ///< of the transfer function
    Line largest;
    std::vector<Line> lines;  ///< those asked for
};

/// The report, with the lines as records.
struct Transfers {
    std::wstring text;    ///< of the recording
    SignalRun reference;  ///< with no other channel
    double spacingHz = 0.0;
    std::int64_t blocks = 0;
    std::vector<ResponseReport> responses;
    std::vector<CComDataBase> records;
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

std::unique_ptr<SignalReader> OpenChannels(const XfrOptions& options, const std::string& channels,
                                           Progress& progress) {
    InputOptions input = options.input;
    input.channels.channels = channels;
    return OpenWaveforms(input, progress);
}

/// A reader with the responses, the reference, and the records of the responses.
struct Selection {
    std::unique_ptr<SignalReader> reader;
    SignalRun reference;  ///< with no other channel
    std::vector<RunRecord> records;
};

/// The channels of the runs, each in a run of its own.
std::vector<SignalRun> SingleChannels(const std::vector<SignalRun>& runs) {
    std::vector<SignalRun> singles;
    for (const SignalRun& run : runs) {
        for (const SignalRun::Channel& channel : run.channels) {
            singles.push_back(run);
            singles.back().channels = {channel};
        }
    }
    return singles;
}

/// Finds the channels of the options; throws Error. Of a data file with named responses nothing but the
/// chosen channels need be waveforms. What is stated of another recording is stated of all its channels.
Selection SelectChannels(const XfrOptions& options, Progress& progress) {
    const bool isNamed = !options.responses.empty();
    const bool isPart = isNamed && IsDataFile(options.input.file);
    Selection selection;
    selection.reader = OpenChannels(options, isPart ? options.responses : "", progress);
    std::vector<SignalRun> all = SingleChannels(selection.reader->Runs());
    std::vector<std::size_t> responses;  // numbers in the order of the choice
    for (const SignalRun& run : all) responses.push_back(run.channels.front().number);
    if (isPart) {
        all = SingleChannels(OpenChannels(options, options.reference, progress)->Runs());
        if (all.size() == 1) selection.reference = all.front();
    } else {
        std::vector<std::wstring> names;
        for (const SignalRun& run : all) names.push_back(run.channels.front().name);
        const std::vector<std::size_t> reference = ChooseChannels(options.reference, names);
        if (reference.size() == 1) selection.reference = all[reference.front()];
        responses.clear();
        for (const std::size_t at : ChooseChannels(options.responses, names))
            responses.push_back(all[at].channels.front().number);
    }
    if (selection.reference.channels.empty()) {
        throw Error(ErrorKind::kBadValue,
                    "--reference " + Quote(options.reference) + " names several channels");
    }
    const SignalRun::Channel& reference = selection.reference.channels.front();
    if (std::erase(responses, reference.number) > 0 && isNamed) {
        throw Error(ErrorKind::kBadValue,
                    "channel " + Quote(reference.name) + " is the reference, not a response");
    }
    selection.records = RecordsOf(selection.reader->Runs());
    for (RunRecord& record : selection.records) {
        const std::vector<SignalRun::Channel>& channels = selection.reader->Runs()[record.run].channels;
        std::vector<std::size_t> chosen;
        for (const std::size_t number : responses) {
            const auto hasNumber = [&](std::size_t c) { return channels[c].number == number; };
            std::ranges::copy_if(record.channels, std::back_inserter(chosen), hasNumber);
        }
        record.channels = std::move(chosen);
    }
    std::erase_if(selection.records, [](const RunRecord& record) { return record.channels.empty(); });
    return selection;
}

/// Throws Error when there is no response, when one was not sampled together with the reference and when
/// their units make no transfer function.
void RequireTransfers(const Selection& selection) {
    if (selection.records.empty()) throw Error(ErrorKind::kBadValue, "it has no channel but the reference");
    const SignalRun& reference = selection.reference;
    for (const RunRecord& record : selection.records) {
        const SignalRun& run = selection.reader->Runs()[record.run];
        if (run.delta != reference.delta || run.samples != reference.samples ||
            run.offset != reference.offset) {
            throw Error(ErrorKind::kBadValue,
                        "channel " + Quote(run.channels[record.channels.front()].name) +
                            " was not sampled together with the reference: rate, count or start differ");
        }
        TransferUnitOf(record.unit, reference.channels.front().unit);
    }
}

/// The averages over the reference of the channels of run `r`, in their order; those of responses are filled.
std::vector<AveragedTransfer> AverageRun(const Selection& selection, std::size_t r, const BlockPlan& plan,
                                         const XfrOptions& options, Progress& progress) {
    SignalReader& reader = *selection.reader;
    const std::vector<SignalRun::Channel>& channels = reader.Runs()[r].channels;
    std::vector<std::size_t> responses;
    for (const RunRecord& record : selection.records) {
        if (record.run == r)
            responses.insert(responses.end(), record.channels.begin(), record.channels.end());
    }
    const auto at =
        std::ranges::find(channels, selection.reference.channels.front().number, &SignalRun::Channel::number);
    const auto column = static_cast<std::size_t>(at - channels.begin());
    std::unique_ptr<SignalReader> other;  // of a reference in another record of a data file
    if (at == channels.end()) other = OpenChannels(options, options.reference, progress);
    std::vector<double> excitation;
    std::vector<AveragedTransfer> averages;
    for (std::size_t c = 0; c < channels.size(); ++c) averages.emplace_back(plan.window, plan.cut.overlap);
    const auto add = [&](std::span<double* const> samples, std::size_t count) {
        if (other != nullptr) {
            excitation.resize(count);
            double* const target = excitation.data();
            if (other->Read(0, {&target, 1}, count) != count)
                throw Error(ErrorKind::kDamaged, "the reference ends before its responses");
        }
        const std::span<const double> reference(other != nullptr ? excitation.data() : samples[column],
                                                count);
        ForEachInParallel(responses.size(), [&](std::size_t i) {
            averages[responses[i]].Add(reference, {samples[responses[i]], count});
        });
    };
    ReadRun(reader, r, add, progress.Function());
    return averages;
}

Line LineAt(const LineSpectrum& transfer, const LineSpectrum& coherence, std::int64_t line) {
    const auto k = static_cast<std::size_t>(line);
    const CUnitCtrl& unit = transfer.unit;
    Line shown = {transfer.FrequencyOf(line),
                  unit.ConvDtoI(transfer.real[k], 1.0, 0),
                  unit.ConvDtoI(transfer.imaginary[k], 1.0, 0),
                  0.0,
                  0.0,
                  coherence.real[k]};
    CMatBasic::FouToAmpFltN(&shown.real, &shown.imaginary, &shown.magnitude, &shown.phaseDegrees, 1, 1);
    return shown;
}

/// The lines nearest to the frequencies; throws Error for one beyond the last line.
std::vector<std::int64_t> LinesNear(const std::vector<double>& frequencies, double spacingHz,
                                    std::int64_t count) {
    std::vector<std::int64_t> lines;
    for (const double hz : frequencies) {
        if (!(std::round(hz / spacingHz) < static_cast<double>(count))) {
            throw Error(ErrorKind::kBadValue,
                        "its last line is at " +
                            FormatNumber(static_cast<double>(count - 1) * spacingHz, 10) + " Hz, not at " +
                            FormatNumber(hz) + " Hz");
        }
        lines.push_back(static_cast<std::int64_t>(std::round(hz / spacingHz)));
    }
    return lines;
}

Transfers Analyse(const XfrOptions& options, const BlockPlan& plan, Progress& progress) {
    const Selection selection = SelectChannels(options, progress);
    const std::vector<SignalRun>& runs = selection.reader->Runs();
    const SignalRun::Channel& reference = selection.reference.channels.front();
    RequireBlock(selection.reference, plan.cut);
    const double rateHz = RateOf(selection.reference);
    const std::int64_t lines = plan.cut.size / 2;
    Transfers result = {selection.reader->Text(),
                        selection.reference,
                        rateHz / static_cast<double>(plan.cut.size),
                        0,
                        {},
                        {}};
    const LineBand band = options.band.Lines(result.spacingHz, lines);
    const std::vector<std::int64_t> wanted = LinesNear(WantedFrequencies(options), result.spacingHz, lines);
    RequireTransfers(selection);

    std::vector<LineSpectrum> coherences;
    CStringArray names;
    std::vector<AveragedTransfer> averages;
    std::size_t analysed = runs.size();  // the run of the averages, at first none
    for (const RunRecord& record : selection.records) {
        const SignalRun& run = runs[record.run];
        if (record.run != analysed) {
            analysed = record.run;
            averages = AverageRun(selection, analysed, plan, options, progress);
        }
        std::vector<LineSpectrum> transfers;
        for (const std::size_t c : record.channels) {
            const LineSpectrum transfer = TransferLines(averages[c], rateHz, record.unit, reference.unit);
            const LineSpectrum coherence = CoherenceLines(averages[c], rateHz);
            RequireNumbers(coherence.real, run.channels[c].name);
            const auto lineAt = [&](std::int64_t line) { return LineAt(transfer, coherence, line); };
            ResponseReport report = {
                run.channels[c], UnitText(transfer.unit), lineAt(HighestLine(transfer.Levels(), band)), {}};
            for (const std::int64_t line : wanted) report.lines.push_back(lineAt(line));
            result.blocks = transfer.blocks;
            result.responses.push_back(std::move(report));
            names.push_back(run.channels[c].name);
            transfers.push_back(transfer);
            coherences.push_back(coherence);
        }
        result.records.push_back(SpectrumRecord(transfers, NamesOf(run, record.channels), reference.name));
    }
    result.records.push_back(SpectrumRecord(coherences, names, reference.name));
    return result;
}

nlohmann::ordered_json JsonOf(const Line& line) {
    return {{"hz", line.hz},
            {"real", line.real},
            {"imaginary", line.imaginary},
            {"magnitude", line.magnitude},
            {"phase", line.phaseDegrees},
            {"coherence", line.coherence}};
}

std::string JsonText(const Transfers& transfers, const XfrOptions& options) {
    const SignalRun::Channel& reference = transfers.reference.channels.front();
    nlohmann::ordered_json json = {{"file", options.input.file},
                                   {"block", options.blocks.size},
                                   {"window", options.blocks.window},
                                   {"overlap", PlanBlocks(options.blocks).cut.overlap},
                                   {"rate", RateOf(transfers.reference)},
                                   {"lineSpacing", transfers.spacingHz},
                                   {"blocks", transfers.blocks},
                                   {"reference",
                                    {{"channel", reference.number},
                                     {"name", ToUtf8(reference.name)},
                                     {"unit", UnitText(reference.unit)}}},
                                   {"responses", nlohmann::ordered_json::array()}};
    for (const ResponseReport& report : transfers.responses) {
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

using Table = std::vector<std::vector<std::string>>;

std::string LinesText(const std::vector<ResponseReport>& responses) {
    Table cells = {
        {"channel", "name", "line", "", "real", "imaginary", "magnitude", "", "phase", "", "coherence"}};
    for (const ResponseReport& report : responses) {
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

std::string ReportText(const Transfers& transfers, const XfrOptions& options) {
    std::string text = "reference " + Printable(ToUtf8(transfers.reference.channels.front().name)) + ": " +
                       BlocksText(options.blocks, transfers.blocks, RateOf(transfers.reference)) +
                       BandText(options.band) + "\n";
    Table largest = {{"channel", "name", "largest", "", "line", "", "coherence"}};
    for (const ResponseReport& report : transfers.responses) {
        largest.push_back({std::to_string(report.channel.number), ToUtf8(report.channel.name),
                           FormatNumber(report.largest.magnitude), report.unit,
                           FormatNumber(report.largest.hz, 7), "Hz", FormatNumber(report.largest.coherence)});
    }
    text += FormatTable(
        {Align::right, Align::left, Align::right, Align::left, Align::right, Align::left, Align::right},
        largest);
    return options.at.empty() ? text : text + LinesText(transfers.responses);
}

void RunXfr(const XfrOptions& options, ByteStream& out) {
    const std::string& input = options.input.file;
    RequireLinesOutput(input, options.output);
    const BlockPlan plan = PlanBlocks(options.blocks);
    WantedFrequencies(options);
    Transfers transfers = Doing("analyse", input, [&] {
        Progress progress("analysing " + InputName(input));
        return Analyse(options, plan, progress);
    });
    const std::string& output = options.output.name;
    if (!output.empty()) {
        Doing("write", output, [&] { StoreDataFile(output, transfers.text, std::move(transfers.records)); });
    }
    if (transfers.blocks == 1) Note("the coherence of a single block is always 1");
    WriteText(ReportStream(output, out),
              options.json ? JsonText(transfers, options) : ReportText(transfers, options));
}

}  // namespace

void AddXfr(Command app) {
    const auto options = std::make_shared<XfrOptions>();
    Command command = app.AddCommand("xfr", "Transfer functions and coherence of time waveforms");
    AddInputFile(command, &options->input);
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
    AddRecordingOptions(command, &options->input.recording);
    command.AddFlag("--json", options->json, "Report as JSON, with all digits");
    command.SetFooter(R"(
H1: the averaged cross power over the averaged power of the reference. The output holds one complex
record per unit of the responses, in that unit over the reference's, and last a record with the
coherences; each response is a row, the reference the column. Blocks are cut as 'kvx psd' cuts them;
blows that each fill a block, begin and end at rest, want --window rectangular --overlap 0.
)",
                      R"(
awk 'BEGIN { srand(1); print "force [N],top [m/s2]"; for (i = 0; i < 8192; ++i) {
    f = rand() - 0.5; a = 1.9 * b - 0.95 * c + f; c = b; b = a; print f "," a } }' > beam.csv
kvx import beam.csv -o beam.vdf2 --rate 1024
kvx xfr beam.vdf2 -o beam-xfr.vdf2 --reference force --block 512 --at 20,40
)");
    command.OnRun([=](ByteStream& out) { RunXfr(*options, out); });
}

}  // namespace kvx::tool
