// SPDX-License-Identifier: MIT
#include "commands/Blocks.h"

#include <array>

#include <KvxDevCommon01/dsp/Windows.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"

namespace kvx::tool {
namespace {

constexpr std::array kLineFormats = {OutputFormat::dataFile};

/// What `action` returns; an Error of it becomes a ValueError on behalf of the option.
template <class Action>
auto OfOption(const std::string& option, Action action) {
    try {
        return action();
    } catch (const Error& error) {
        throw ValueError(option + ": " + error.Sentence());
    }
}

}  // namespace

void AddBlockOptions(Command command, BlockOptions* options) {
    command
        .AddOption("--block", options->size,
                   "Samples per block, a power of two from 2 to " + std::to_string(kLargestBlock))
        .Type("N")
        .Check(WholeNumber(kSmallestBlock, kLargestBlock))
        .ShowDefault();
    command.AddOption("--window", options->window, "Window: " + JoinList(WindowNames()))
        .Type("NAME")
        .ShowDefault();
    command.AddOption("--overlap", options->overlapPercent, "Overlap of the blocks in percent")
        .Type("PERCENT")
        .Check(FiniteNumber())
        .ShowDefault();
}

void AddLinesOutput(Command& command, OutputChoice* output) {
    AddOutputOptions(command, "Data file for the lines, else there is only a report", kLineFormats, output);
}

void RequireLinesOutput(const std::string& input, const OutputChoice& output) {
    if (output.name.empty()) return;
    RequireAnotherFile(input, output.name);
    FormatOf(output, kLineFormats);
}

void AddBandOptions(Command command, const std::string& figures, BandOptions* options) {
    command.AddOption("--from", options->fromHz, "Report " + figures + " from this frequency on")
        .Type("HZ")
        .Check(NonNegativeNumber());
    command.AddOption("--to", options->toHz, "Report up to this frequency")
        .Type("HZ")
        .Check(PositiveNumber());
}

std::string BandText(const BandOptions& options) {
    if (!(options.fromHz > 0.0) && !options.toHz) return "";
    const std::string text = ", band from " + FormatNumber(options.fromHz) + " Hz";
    return options.toHz ? text + " to " + FormatNumber(*options.toHz) + " Hz" : text;
}

BlockPlan PlanBlocks(const BlockOptions& options) {
    OfOption("--block", [&] { RequireBlockSize(options.size); });
    return {OfOption("--overlap", [&] { return CutWithOverlap(options.size, options.overlapPercent); }),
            OfOption("--window", [&] { return MakeWindow(options.window, options.size); })};
}

void RequireBlock(const SignalRun& run, const BlockCut& cut) {
    if (run.samples < cut.size) {
        throw Error(ErrorKind::kBadValue, "a block of " + std::to_string(cut.size) + " is more than its " +
                                              Count(run.samples, "sample") + "; choose a smaller --block");
    }
}

std::string BlocksText(const BlockOptions& options, std::int64_t count, double rateHz) {
    return Count(count, "block") + " of " + std::to_string(options.size) + " at " + FormatNumber(rateHz, 10) +
           " Hz, " + options.window + " window, line spacing " +
           FormatNumber(rateHz / static_cast<double>(options.size), 10) + " Hz";
}

}  // namespace kvx::tool
