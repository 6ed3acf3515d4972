// SPDX-License-Identifier: MIT
//
// kvx spectrogram: how the spectrum of a waveform changes, as a colour map or waterfall.
#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/data/Samples.h>
#include <KvxDevCommon01/dsp/SlicedSpectrum.h>
#include <KvxDevCommon01/dsp/Windows.h>
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/files/RecordSamples.h>
#include <KvxDevCommon01/platform/Parallel.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/Progress.h"
#include "cli/StandardStreams.h"
#include "commands/Blocks.h"
#include "commands/Commands.h"
#include "commands/PictureChoice.h"
#include "commands/Runs.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

constexpr __int64 kMostMapSlices = 4096;
constexpr __int64 kUsualMapSlices = 600;
constexpr __int64 kUsualWaterfallSlices = 40;

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

/// The slices of each channel of run `r`, a row each.
std::vector<CComDataSpecA> AnalyseSlices(SignalReader& reader, std::size_t r, const Slicing& slicing,
                                         const BlockPlan& plan, LineKind kind, Progress& progress) {
    const SignalRun& run = reader.Runs()[r];
    std::vector<CComDataSpecA> slices;
    for (const SignalRun::Channel& channel : run.channels) {
        slices.emplace_back(RateOf(run) / static_cast<double>(plan.cut.size), slicing.Count(run.samples), 1,
                            plan.cut.size / 2, 0, LineUnit(kind, channel.unit), nullptr, nullptr);
        if (!slices.back().Check()) throw std::bad_alloc();
    }
    std::vector<SlicedSpectrum> spectra;
    for (CComDataSpecA& record : slices) {
        const auto store = [&record, row = __int64{0}](std::span<const double> lines) mutable {
            std::ranges::copy(lines, Samples(record, row++, 0).begin());
        };
        spectra.emplace_back(plan.window, slicing, kind, RateOf(run), store);
    }
    const auto add = [&](std::span<double* const> samples, std::size_t count) {
        ForEachInParallel(spectra.size(), [&](std::size_t c) { spectra[c].Add({samples[c], count}); });
    };
    ReadRun(reader, r, add, progress.Function());
    for (std::size_t c = 0; c < slices.size(); ++c) {
        for (__int64 row = 0; row < slices[c].GetNumRow(); ++row)
            RequireNumbers(Samples(std::as_const(slices[c]), row, 0), run.channels[c].name);
    }
    return slices;
}

/// The graph of the slices of a channel, which follow one another in time.
plot::RecordGraph GraphOf(const CComDataBase& slices, const SignalRun::Channel& channel, const SignalRun& run,
                          const Slicing& slicing, const SpectrogramOptions& options,
                          const plot::RecordGraphChoice& choice) {
    if (choice.unit && !IsConvertible(slices.GetUnit(), *choice.unit)) {
        throw Error(ErrorKind::kBadValue, "no channel has a unit that converts to " + Quote(options.unit));
    }
    plot::SliceCourse course;
    // A slice lies at the middle of its blocks.
    course.startSeconds =
        (static_cast<double>(run.offset) + static_cast<double>(slicing.Length() - 1) / 2.0) * run.delta;
    course.intervalSeconds = static_cast<double>(slicing.Start(1)) * run.delta;
    course.isWaterfall = options.isWaterfall;
    course.dynamicRange = options.isDensity ? 1e6 : 1e3;  // 60 dB
    return plot::MakeSliceGraph(slices, channel.name, course, choice);
}

void RunSpectrogram(const SpectrogramOptions& options, ByteStream& out) {
    const std::string& input = options.input.file;
    RequireOneStandardInput({input, options.picture.settings});
    const PictureTarget target = ResolvePicture(options.picture, {input});
    const plot::RecordGraphChoice choice = ResolveGraphs(options.x, options.y, options.unit);
    const BlockPlan plan = PlanBlocks(options.blocks);
    const __int64 most = options.isWaterfall ? CGraphLineInfoList::GetWaterfallMaxLineNum() : kMostMapSlices;
    if (options.slices > most)
        throw ValueError("--slices: at most " + Count(most, "slice") + " can be drawn");
    const __int64 usual = options.isWaterfall ? kUsualWaterfallSlices : kUsualMapSlices;
    const LineKind kind = options.isDensity ? LineKind::kDensity : LineKind::kAmplitude;
    std::vector<std::vector<CComDataSpecA>> records;  // per run and channel; the graphs look at them
    std::vector<plot::RecordGraph> graphs;
    std::wstring title;
    Doing("analyse", input, [&] {
        Progress progress("analysing " + InputName(input));
        const std::unique_ptr<SignalReader> reader = OpenWaveforms(options.input, progress);
        title = reader->Text();
        for (const SignalRun& run : reader->Runs()) RequireBlock(run, plan.cut);
        for (std::size_t r = 0; r < reader->Runs().size(); ++r) {
            const SignalRun& run = reader->Runs()[r];
            const Slicing slicing = Slicing::AtMost(options.slices.value_or(usual), run.samples, plan.cut);
            records.push_back(AnalyseSlices(*reader, r, slicing, plan, kind, progress));
            for (std::size_t c = 0; c < run.channels.size(); ++c) {
                graphs.push_back(GraphOf(records.back()[c], run.channels[c], run, slicing, options, choice));
            }
        }
    });
    const plot::GraphSheet sheet = Doing("draw", input, [&] {
        return plot::GraphSheet(std::move(graphs), target.title.value_or(title), target.look);
    });
    WriteSheet(options.picture, target, sheet, out);
}

}  // namespace

void AddSpectrogram(Command app) {
    const auto options = std::make_shared<SpectrogramOptions>();
    Command command =
        app.AddCommand("spectrogram", "Draw how the spectrum changes: a colour map or a waterfall");
    AddInputFile(command, &options->input);
    AddPictureOptions(command, &options->picture);
    AddChannelOptions(command, &options->input.channels);
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
    command.OnRun([=](ByteStream& out) { RunSpectrogram(*options, out); });
}

}  // namespace kvx::tool
