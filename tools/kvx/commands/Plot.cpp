// SPDX-License-Identifier: MIT
//
// kvx plot: pictures of waveforms, spectra, densities and transfer functions.
#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/files/Channels.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxRecording01/ProfileText.h>
#include <KvxRecording01/SignalRecords.h>

#include "cli/Failure.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/Progress.h"
#include "cli/StandardStreams.h"
#include "commands/Commands.h"
#include "commands/DataFiles.h"
#include "commands/PictureChoice.h"
#include "commands/Signal.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

struct PlotOptions {
    std::string input;
    PictureChoice picture;
    PartOptions part;
    RecordingOptions recording;
    AxisOptions x;
    AxisOptions y;
    std::string unit;
    std::optional<std::string> suffix;
    std::optional<std::string> show;
    std::string panes = "record";
    std::string profile;
};

plot::RecordGraphChoice ChoiceOf(const PlotOptions& options) {
    plot::RecordGraphChoice choice = ResolveGraphs(options.x, options.y, options.unit);
    if (options.suffix) {
        RequireSuffix(*options.suffix, CUnitCtrl());
        choice.suffixOf = [name = *options.suffix](const CUnitCtrl& unit) {
            return RequireSuffix(name, unit);
        };
    }
    if (options.show) choice.graphKind = Choose(plot::NamedGraphKinds(), "--show", *options.show).kind;
    choice.advice = "choose some with --channels";
    if (options.panes == "channel") choice.paneMode = CGraphParam::PANE_PER_ROW;
    return choice;
}

/// Throws Error when something that was chosen suits none of the graphs.
void RequireUse(const std::vector<plot::RecordGraph>& graphs, const PlotOptions& options,
                const plot::RecordGraphChoice& choice) {
    const auto isUseless = [&](const auto& chosen, const auto& suits) {
        return chosen && std::ranges::none_of(graphs, suits, &plot::RecordGraph::param);
    };
    if (isUseless(choice.unit,
                  [&](const CGraphParam& p) { return IsConvertible(p.m_units.y, *choice.unit); }))
        throw Error(ErrorKind::kBadValue, "no channel has a unit that converts to " + Quote(options.unit));
    if (isUseless(choice.graphKind,
                  [&](const CGraphParam& p) { return p.m_cells.graphKind == *choice.graphKind; })) {
        throw Error(ErrorKind::kBadValue,
                    "--show " + *options.show + " is for " +
                        (plot::DrawsComplexValues(*choice.graphKind) ? "complex lines" : "real values") +
                        ", which no channel has");
    }
    if (isUseless(choice.suffixOf,
                  [](const CGraphParam& p) { return plot::AreAmplitudes(p.m_cells.dataKind); }))
        throw Error(ErrorKind::kBadValue, "--suffix is for amplitudes, which no channel has");
}

/// Draws the profile into the graphs of densities it belongs to.
void AddProfileText(std::vector<plot::RecordGraph>& graphs, const ProfileText& text) {
    bool isUsed = false;
    for (plot::RecordGraph& graph : graphs) {
        const CUnitCtrl& unit = graph.param.m_units.y;
        const std::optional<CUnitCtrl> own = text.signalUnit ? DensityUnit(*text.signalUnit) : unit;
        if (graph.param.m_cells.dataKind != CGraphParam::DATA_PSD || !own || !IsConvertible(*own, unit))
            continue;
        plot::AddProfile(graph, ProfileIn(text, *own), L"profile");
        isUsed = true;
    }
    if (!isUsed) throw Error(ErrorKind::kBadValue, "no density to be drawn is of its unit");
}

/// What is drawn: records, which graphs look at, and the chosen channels of them.
struct Drawing {
    DataFileContent content;
    std::vector<Channel> channels;
};

Drawing ReadDrawing(const PlotOptions& options) {
    Drawing drawing;
    const PartOptions& part = options.part;
    if (IsDataFile(options.input) && !part.start && !part.end) {
        RequireNothingStated(options.recording);
        drawing.content = LoadDataFile(options.input);
        drawing.channels = SelectChannels(drawing.content, {part.channels, part.record});
        return drawing;
    }
    Progress progress("reading " + InputName(options.input));
    const std::unique_ptr<SignalReader> reader = OpenSignal(options.input, part, options.recording, false,
                                                            progress, {.anyRun = true, .missing = true});
    drawing.content = RecordsOfSignal(*reader, progress.Function());
    drawing.channels = ListChannels(drawing.content);
    return drawing;
}

void RunPlot(const PlotOptions& options, ByteStream& out) {
    const PictureTarget target = ResolvePicture(options.picture, {options.input, options.profile});
    const plot::RecordGraphChoice choice = ChoiceOf(options);
    const Drawing drawing = Doing("read", options.input, [&] { return ReadDrawing(options); });
    std::vector<plot::RecordGraph> graphs = Doing("draw", options.input, [&] {
        auto made = plot::MakeRecordGraphs(drawing.content, drawing.channels, choice);
        RequireUse(made, options, choice);
        return made;
    });
    if (!options.profile.empty()) {
        Doing("draw", options.profile,
              [&] { AddProfileText(graphs, ReadProfileText(InputPath(options.profile))); });
    }
    const plot::GraphSheet sheet = Doing("draw", options.input, [&] {
        const std::wstring title = target.title.value_or(drawing.content.header.GetName());
        plot::GraphSheet made(std::move(graphs), title, target.look);
        made.RequireSomethingSeen(choice.y.name);
        return made;
    });
    WriteSheet(options.picture, target, sheet, out);
}

void RunPlots(const PlotOptions& options, const BatchOptions& batch, ByteStream& out) {
    RequirePictures(options.picture, batch, {options.profile});
    const auto one = [&](const std::string& input, const OutputChoice& output, ByteStream& report) {
        PlotOptions own = options;
        own.input = input;
        own.picture.output = output;
        RunPlot(own, report);
    };
    RunBatch(batch, PictureFormats(), BatchReports::asTheyAre, one, out);
}

}  // namespace

void AddPlot(Command app) {
    const auto options = std::make_shared<PlotOptions>();
    const auto batch = std::make_shared<BatchOptions>();
    Command command = app.AddCommand("plot", "Draw waveforms, spectra, densities and transfer functions");
    AddInputs(command, "FILE", "Recordings of any format", batch.get());
    AddPictureOptions(command, &options->picture, batch.get());
    AddPartOptions(command, &options->part);
    AddAxisOptions(command, "x", "seconds or hertz; either may be left out: 10,2000 or 10,", &options->x);
    AddAxisOptions(command, "y", "the unit of the values; of phases in degrees", &options->y);
    command.AddOption("--unit", options->unit, "Show the values in this unit: m/s2, (m/s2)2/Hz ...")
        .Type("UNIT");
    command
        .AddOption("--suffix", options->suffix,
                   "Show amplitudes as 0-p, p-p (twice the number) or rms, as is usual for the dimension "
                   "(usual), or without a word (none)")
        .Type("SUFFIX")
        .Suggest(SuffixNames());
    command
        .AddOption("--show", options->show,
                   "What is drawn: of complex lines magnitude-phase (the default), one or both parts, their "
                   "locus (nyquist); of real values a line, steps, bars or marks")
        .Type("WHAT")
        .OneOf(NameList(plot::NamedGraphKinds()));
    command
        .AddOption("--panes", options->panes, "A pane for the channels of each record, or for each channel")
        .Type("BY")
        .OneOf({"record", "channel"})
        .ShowDefault();
    command
        .AddOption("--profile", options->profile,
                   "Draw this profile (see 'kvx synth') into the panes of densities")
        .Type("FILE");
    options->recording.unitName = "--input-unit";
    AddRecordingOptions(command, &options->recording);
    command.SetFooter(R"(
Waveforms are drawn on linear axes, spectra and densities on logarithmic ones, transfer functions as
magnitude and phase. Channels of different records, and so of different units, have panes of their
own.
)",
                      R"(
printf 'unit g2/Hz\n20 0.01\n80 0.04\n350 0.04\n2000 0.007\n' > profile.txt
kvx synth profile.txt -o random.vdf2 --rate 8192 --duration 20
kvx plot random.vdf2 -o random.png --x 1,1.25 --title 'Random vibration'
kvx psd random.vdf2 -o random-psd.vdf2 --block 2048
kvx plot random-psd.vdf2 -o random-psd.svg --x 10,3000 --profile profile.txt
kvx plot random-psd.vdf2 -o random-psd.pdf --size A4 --scheme printer --store-settings mine.gci2
)");
    command.OnRun([=](ByteStream& out) { RunPlots(*options, *batch, out); });
}

}  // namespace kvx::tool
