// SPDX-License-Identifier: MIT
//
// kvx spectrogram: how the spectrum of a waveform changes, as a colour map or waterfall.
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cli/Failure.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/StandardStreams.h"
#include "commands/Analysis.h"
#include "commands/Commands.h"
#include "commands/PictureChoice.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

constexpr __int64 kMostMapSlices = 4096;
constexpr __int64 kUsualMapSlices = 600;
constexpr __int64 kUsualWaterfallSlices = 40;
constexpr __int64 kLeastOfWaterfall = 8;  // samples of a block

struct SpectrogramOptions {
    InputOptions input;
    PictureChoice picture;
    BlockOptions blocks;
    AxisOptions x;
    AxisOptions y;
    std::string unit;
    bool isDensity = false;
    bool isWaterfall = false;
    std::optional<std::int64_t> slices;
};

/// The graphs of the slices of a run, which follow one another in time.
void AppendGraphs(const RunSlices& slices, const SignalRun& run, const SpectrogramOptions& options,
                  const plot::RecordGraphChoice& choice, std::vector<plot::RecordGraph>* graphs) {
    plot::SliceCourse course;
    course.startSeconds = slices.startSeconds;
    course.intervalSeconds = slices.intervalSeconds;
    course.isWaterfall = options.isWaterfall;
    course.dynamicRange = options.isDensity ? 1e6 : 1e3;  // 60 dB
    for (std::size_t c = 0; c < run.channels.size(); ++c) {
        const CComDataBase& record = slices.channels[c];
        if (choice.unit && !IsConvertible(record.GetUnit(), *choice.unit)) {
            throw Error(ErrorKind::kBadValue,
                        "no channel has a unit that converts to " + Quote(options.unit));
        }
        graphs->push_back(plot::MakeSliceGraph(record, run.channels[c].name, course, choice));
    }
}

void RunSpectrogram(const SpectrogramOptions& options, ByteStream& out) {
    const std::string& input = options.input.file;
    const PictureTarget target = ResolvePicture(options.picture, {input});
    const plot::RecordGraphChoice choice = ResolveGraphs(options.x, options.y, options.unit);
    const BlockPlan plan = PlanBlocks(options.blocks);
    // The line at 0 Hz is not drawn, and a slice is drawn from line to line.
    if (options.isWaterfall && plan.spacingHz == 0.0 && plan.cut.size < kLeastOfWaterfall) {
        throw ValueError("--block: a waterfall takes " + std::to_string(kLeastOfWaterfall) +
                         " samples or more, as smaller blocks have no two lines above 0 Hz");
    }
    const __int64 most = options.isWaterfall ? CGraphLineInfoList::GetWaterfallMaxLineNum() : kMostMapSlices;
    if (options.slices > most)
        throw ValueError("--slices: at most " + Count(most, "slice") + " can be drawn");
    const __int64 usual = options.isWaterfall ? kUsualWaterfallSlices : kUsualMapSlices;
    const LineKind kind = options.isDensity ? LineKind::kDensity : LineKind::kAmplitude;
    std::vector<RunSlices> slices;  // the graphs look at them
    std::vector<plot::RecordGraph> graphs;
    std::wstring title;
    AnalyseInput(options.input, [&](Progress& progress) {
        const std::unique_ptr<SignalReader> reader = OpenWaveforms(options.input, progress);
        title = reader->Text();
        slices = SlicesOf(*reader, {kind, plan, options.slices.value_or(usual)}, progress.Function());
        for (std::size_t r = 0; r < slices.size(); ++r)
            AppendGraphs(slices[r], reader->Runs()[r], options, choice, &graphs);
    });
    const plot::GraphSheet sheet = Doing("draw", input, [&] {
        return plot::GraphSheet(std::move(graphs), target.title.value_or(title), target.look);
    });
    WriteSheet(options.picture, target, sheet, out);
}

void RunSpectrograms(const SpectrogramOptions& options, const BatchOptions& batch, ByteStream& out) {
    RequirePictures(options.picture, batch, {});
    const auto one = [&](const std::string& input, const OutputChoice& output, ByteStream& report) {
        SpectrogramOptions own = options;
        own.input.file = input;
        own.picture.output = output;
        RunSpectrogram(own, report);
    };
    RunBatch(batch, PictureFormats(), BatchReports::asTheyAre, one, out);
}

}  // namespace

void AddSpectrogram(Command app) {
    const auto options = std::make_shared<SpectrogramOptions>();
    const auto batch = std::make_shared<BatchOptions>();
    Command command =
        app.AddCommand("spectrogram", "Draw how the spectrum changes: a colour map or a waterfall");
    AddWaveformInputs(command, batch.get());
    AddPictureOptions(command, &options->picture, batch.get());
    AddPartOptions(command, &options->input.part);
    AddBlockOptions(command, &options->blocks);
    command.AddFlag("--density", options->isDensity, "Spectral densities instead of peak amplitudes");
    command.AddFlag("--waterfall", options->isWaterfall, "A waterfall instead of a colour map");
    command
        .AddOption("--slices", options->slices,
                   "Most slices to draw (default: 600, of a waterfall 40); more blocks are averaged")
        .Type("N")
        .Check(WholeNumber(1, kMostMapSlices));
    AddAxisOptions(command, "x", "hertz; either may be left out: 10,2000 or 10,", &options->x);
    AddAxisOptions(command, "y", "the unit of the levels: of the colours, or of the height of a slice",
                   &options->y);
    command.AddOption("--unit", options->unit, "Show the levels in this unit").Type("UNIT");
    options->input.recording.unitName = "--input-unit";
    AddRecordingOptions(command, &options->input.recording);
    command.SetFooter(R"(
The waveform is cut into blocks as 'kvx psd' cuts it. Each slice is the spectrum of one block, or
averaged over several where there are too many; it stands at the time of their middle. Every channel
has a pane of its own.
)",
                      R"(
awk 'BEGIN { print "sweep [g]"; for (i = 0; i < 32768; ++i) {
    t = i / 4096; print sin(6.2831853 * 20 * (exp(0.5 * t) - 1) / 0.5) } }' > sweep.csv
kvx import sweep.csv -o sweep.vdf2 --rate 4096
kvx spectrogram sweep.vdf2 -o sweep.png --block 512 --overlap 75
kvx spectrogram sweep.vdf2 -o sweep.svg --waterfall --x 10,1500 --y-scale linear
)");
    command.OnRun([=](ByteStream& out) { RunSpectrograms(*options, *batch, out); });
}

}  // namespace kvx::tool
