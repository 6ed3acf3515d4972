// SPDX-License-Identifier: MIT
//
// kvx spectrogram: how the spectrum of a waveform changes, as a colour map or waterfall.
#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/data/Samples.h>
#include <KvxDevCommon01/dsp/AveragedSpectrum.h>
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/files/RecordSamples.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/Progress.h"
#include "cli/StandardStreams.h"
#include "commands/Blocks.h"
#include "commands/Commands.h"
#include "commands/DataFiles.h"
#include "commands/PictureChoice.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

constexpr __int64 kMostMapSlices = 4096;
constexpr __int64 kUsualMapSlices = 600;
constexpr __int64 kUsualWaterfallSlices = 40;

struct SpectrogramOptions {
    std::string input;
    PictureChoice picture;
    ChannelOptions channels;
    BlockOptions blocks;
    AxisOptions x;
    AxisOptions y;
    std::string unit;
    bool isDensity = false;
    bool isWaterfall = false;
    std::optional<std::int64_t> slices;
};

/// The blocks of a waveform in groups of equally many, each of which makes a slice.
struct Slicing {
    BlockCut cut;
    __int64 count;  ///< of slices
    __int64 blocksPerSlice;

    __int64 Start(__int64 slice) const { return slice * blocksPerSlice * (cut.size - cut.overlap); }
    __int64 Length() const { return (blocksPerSlice - 1) * (cut.size - cut.overlap) + cut.size; }
};

Slicing SliceUp(const CComDataBase& record, const SpectrogramOptions& options) {
    const __int64 usual = options.isWaterfall ? kUsualWaterfallSlices : kUsualMapSlices;
    const __int64 most = options.slices.value_or(usual);
    const BlockCut cut = {options.blocks.size, OverlapSamples(options.blocks)};
    const __int64 blocks = cut.Count(record.GetNsamp());
    const __int64 blocksPerSlice = (blocks + most - 1) / most;
    return {cut, blocks / blocksPerSlice, blocksPerSlice};
}

/// The slices of one channel, a row each.
CComDataSpecA AnalyseSlices(const CComDataBase& record, const Channel& channel, const Slicing& slicing,
                            const SpectrogramOptions& options, Progress& progress) {
    const std::optional<CUnitCtrl> unit =
        options.isDensity ? DensityUnit(record.GetUnit()) : record.GetUnit();
    if (!unit)
        throw Error(ErrorKind::kBadValue,
                    "the unit " + Quote(UnitText(record.GetUnit())) + " is a compound, which has no density");
    const CDataArrayDouble window = MakeWindow(options.blocks);
    const CDataArrayDouble samples = StandardSamples(record, channel);
    const double rateHz = RateOf(record);
    const __int64 lineCount = slicing.cut.size / 2;
    CComDataSpecA slices(rateHz / static_cast<double>(slicing.cut.size), slicing.count, 1, lineCount, 0,
                         *unit, nullptr, nullptr);
    AveragedSpectrum average;
    CDataArrayDouble lines;
    for (__int64 slice = 0; slice < slicing.count; ++slice) {
        double* row = slices.GetReal(slice, 0);
        if (row == nullptr || !average.Begin(window, slicing.cut.overlap)) throw std::bad_alloc();
        average.Add(Samples(samples).subspan(static_cast<std::size_t>(slicing.Start(slice)),
                                             static_cast<std::size_t>(slicing.Length())));
        const int isDone = options.isDensity ? average.GetPsd(rateHz, &lines) : average.GetAmplitude(&lines);
        if (!isDone) throw std::bad_alloc();
        RequireNumbers(lines, channel.name);
        std::copy_n(lines.GetData(), lineCount, row);
        progress.Update(static_cast<std::uint64_t>(slice) + 1, static_cast<std::uint64_t>(slicing.count));
    }
    return slices;
}

/// The graph of slices that follow one another in time.
plot::RecordGraph GraphOf(const CComDataBase& slices, const Channel& channel, const CComDataBase& wave,
                          const Slicing& slicing, const SpectrogramOptions& options,
                          const plot::RecordGraphChoice& choice) {
    if (choice.unit && !IsConvertible(slices.GetUnit(), *choice.unit)) {
        throw Error(ErrorKind::kBadValue, "no channel has a unit that converts to " + Quote(options.unit));
    }
    plot::SliceCourse course;
    // A slice lies at the middle of its blocks.
    course.startSeconds =
        (static_cast<double>(wave.GetOffset()) + static_cast<double>(slicing.Length() - 1) / 2.0) *
        wave.GetDelta();
    course.intervalSeconds = static_cast<double>(slicing.Start(1)) * wave.GetDelta();
    course.isWaterfall = options.isWaterfall;
    course.dynamicRange = options.isDensity ? 1e6 : 1e3;  // 60 dB
    return plot::MakeSliceGraph(slices, channel.name, course, choice);
}

void RunSpectrogram(const SpectrogramOptions& options, ByteStream& out) {
    RequireOneStandardInput({options.input, options.picture.settings});
    const PictureTarget target = ResolvePicture(options.picture, {options.input});
    const plot::RecordGraphChoice choice = ResolveGraphs(options.x, options.y, options.unit);
    MakeWindow(options.blocks);
    const __int64 most = options.isWaterfall ? CGraphLineInfoList::GetWaterfallMaxLineNum() : kMostMapSlices;
    if (options.slices > most)
        throw ValueError("--slices: at most " + Count(most, "slice") + " can be drawn");
    std::vector<CComDataBase> records;
    std::vector<plot::RecordGraph> graphs;
    std::wstring title;
    Doing("analyse", options.input, [&] {
        Progress progress("analysing " + InputName(options.input));
        const DataFileContent content = LoadDataFile(options.input);
        title = content.header.GetName();
        for (const ChosenWaveforms& source : SelectWaveforms(content, options.channels)) {
            RequireBlock(*source.record, options.blocks);
            const Slicing slicing = SliceUp(*source.record, options);
            for (const Channel& channel : source.channels) {
                records.push_back(AnalyseSlices(*source.record, channel, slicing, options, progress));
                graphs.push_back(GraphOf(records.back(), channel, *source.record, slicing, options, choice));
            }
        }
    });
    WriteSheet(options.picture, target, {std::move(graphs), target.title.value_or(title), target.look}, out);
}

}  // namespace

void AddSpectrogram(Command app) {
    const auto options = std::make_shared<SpectrogramOptions>();
    Command command =
        app.AddCommand("spectrogram", "Draw how the spectrum changes: a colour map or a waterfall");
    command.AddOption("FILE", options->input, "Data file with time waveforms").Required();
    AddPictureOptions(command, &options->picture);
    AddChannelOptions(command, &options->channels);
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
    command.SetFooter(
        "The waveform is cut into blocks as 'kvx psd' cuts it. Each slice is the spectrum of one block, or\n"
        "averaged over several where there are too many; it stands at the time of their middle. Every "
        "channel\n"
        "has a pane of its own.\n\n"
        "Example:\n"
        "  awk 'BEGIN { print \"sweep [g]\"; for (i = 0; i < 32768; ++i) {\n"
        "      t = i / 4096; print sin(6.2831853 * 20 * (exp(0.5 * t) - 1) / 0.5) } }' > sweep.csv\n"
        "  kvx import sweep.csv -o sweep.vdf2 --rate 4096\n"
        "  kvx spectrogram sweep.vdf2 -o sweep.png --block 512 --overlap 75\n"
        "  kvx spectrogram sweep.vdf2 -o sweep.svg --waterfall --x 10,1500 --y-scale linear");
    command.OnRun([=](ByteStream& out) { RunSpectrogram(*options, out); });
}

}  // namespace kvx::tool
