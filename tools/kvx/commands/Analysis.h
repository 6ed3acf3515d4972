// SPDX-License-Identifier: MIT
//
// What the commands that analyse recordings have in common: their options, how they run, and their reports.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include <KvxDevCommon01/dsp/LineFigures.h>
#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxRecording01/RecordingAnalysis.h>

#include "cli/Batch.h"
#include "cli/Command.h"
#include "cli/Failure.h"
#include "cli/OutputFormat.h"
#include "cli/Progress.h"
#include "cli/StandardStreams.h"
#include "commands/DataFiles.h"
#include "commands/Signal.h"

namespace kvx::tool {

struct InputOptions {
    std::string file;
    PartOptions part;
    RecordingOptions recording;
};

/// Describes the inputs; AddRecordingOptions describes what may be stated of them.
void AddWaveformInputs(Command& command, BatchOptions* batch);

/// What `analyse` returns, which opens the input and is given the progress.
template <class Analyse>
auto AnalyseInput(const InputOptions& input, Analyse analyse) {
    return Doing("analyse", input.file, [&] {
        Progress progress("analysing " + InputName(input.file));
        return analyse(progress);
    });
}

/// Opens the recording; throws Error or ValueError.
std::unique_ptr<SignalReader> OpenWaveforms(const InputOptions& options, Progress& progress);

struct BlockOptions {
    std::optional<std::int64_t> size;
    std::optional<double> spacingHz;  ///< instead of the size
    std::string window = "hann";
    double overlapPercent = 50.0;
    std::string detrend = "none";

    static constexpr std::int64_t kUsualSize = 1024;
    std::int64_t Size() const { return size.value_or(kUsualSize); }
    /// What a report says of blocks whose rate it does not know: "4096", "at most 2 Hz".
    std::string SizeText() const {
        return spacingHz ? "at most " + FormatNumber(*spacingHz) + " Hz" : std::to_string(Size());
    }
};

void AddBlockOptions(Command command, BlockOptions* options);

/// Throws ValueError.
BlockPlan PlanBlocks(const BlockOptions& options, Averaging averaging = {});

/// Of a command that makes lines.
struct LinesOptions {
    InputOptions input;
    OutputChoice output;  ///< empty for a report only
    BlockOptions blocks;
    FrequencyBand band;
    bool json = false;
};

/// Describes -o for the lines; without it there is only a report.
void AddLinesOutput(Command& command, BatchOptions* batch);

/// Describes --from and --to, which bound where a report looks for `figures`.
void AddBandOptions(Command command, const std::string& figures, FrequencyBand* band);

void AddJsonFlag(Command& command, LinesOptions* options);

/// Runs `work` for each input with the options that name it and its output.
template <class Options, class Work>
void RunLines(const Options& options, const BatchOptions& batch, Work work, ByteStream& out) {
    const auto one = [&](const std::string& input, const OutputChoice& output, ByteStream& report) {
        Options own = options;
        own.input.file = input;
        own.output = output;
        work(own, report);
    };
    RunBatch(batch, RecordingFormats(), options.json ? BatchReports::json : BatchReports::withHeading, one,
             out);
}

/// Throws ValueError when the lines cannot go to the output, if one is named.
void RequireLinesOutput(const LinesOptions& options);

/// Stores the lines when an output is named, with the text of the recording.
template <class Lines>
void StoreLines(const LinesOptions& options, const std::wstring& text, const Lines& lines) {
    const std::string& output = options.output.name;
    if (output.empty()) return;
    Doing("write", output, [&] { StoreRecords(options.output, text, DataRecords(lines)); });
}

/// What a report as JSON begins with.
nlohmann::ordered_json JsonOf(const LinesOptions& options);

/// "3 blocks of 1024 at 2048 Hz, hann window, line spacing 2 Hz, band from 20 Hz to 2000 Hz", of blocks as
/// the plan of the run has them.
std::string BlocksText(const LinesOptions& options, const BlockPlan& blocks, std::int64_t count,
                       double rateHz);

/// A table of figures of channels: names and units, the columns without a heading, are set left and numbers
/// right.
class ChannelTable {
public:
    /// The headings of what follows the number and the name of a channel.
    explicit ChannelTable(const std::vector<std::string>& headings);
    void Add(const SignalRun::Channel& channel, const std::vector<std::string>& figures);
    bool IsEmpty() const { return lines_.size() == 1; }
    std::string Text() const;

private:
    std::vector<std::vector<std::string>> lines_;
};

/// How the blocks of psd and spectrum are averaged.
struct AverageOptions {
    std::string mode = "linear";
    std::optional<double> weight;
    std::optional<double> timeConstantSeconds;
    std::int64_t transformSize = 0;
    bool hasMiddleLine = false;
};

struct SpectraOptions : LinesOptions {
    LineKind kind = LineKind::kAmplitude;
    AverageOptions average;
    std::optional<double> confidencePercent;
    bool isDecibel = false;
    std::string decibelReference;  ///< empty for the usual one
    double cutoffHz = 0.0;         ///< of the motion that densities of accelerations tell of
    std::size_t peaks = 0;         ///< how many to report
};

/// Describes the inputs and options that psd and spectrum have.
void AddSpectraOptions(Command& command, SpectraOptions* options, BatchOptions* batch);

/// Analyses the chosen channels of each input, stores the lines when an output is given and prints the
/// reports.
void RunSpectra(const SpectraOptions& options, const BatchOptions& batch, ByteStream& out);

}  // namespace kvx::tool
