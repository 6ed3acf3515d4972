// SPDX-License-Identifier: MIT
//
// kvx plot: pictures of waveforms, spectra, densities and transfer functions.
#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <KvxDevCommon01/platform/Text.h>
#include <KvxRecording01/ProfileText.h>

#include "cli/Failure.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/StandardStreams.h"
#include "commands/Commands.h"
#include "commands/DataFiles.h"
#include "commands/PictureChoice.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

struct PlotOptions {
    std::string input;
    PictureChoice picture;
    ChannelOptions channels;
    AxisOptions x;
    AxisOptions y;
    std::string unit;
    std::optional<std::string> suffix;
    std::optional<std::string> show;
    std::string panes = "record";
    std::string profile;
};

struct GraphKindName {
    std::string_view name;
    CGraphParam::GRAPH_KIND kind;
};

// clang-format off
constexpr std::array kGraphKinds = {
    GraphKindName{"magnitude-phase", CGraphParam::GRAPH_MAGNITUDE_PHASE},
    GraphKindName{"magnitude",       CGraphParam::GRAPH_MAGNITUDE},
    GraphKindName{"phase",           CGraphParam::GRAPH_PHASE},
    GraphKindName{"unwrapped-phase", CGraphParam::GRAPH_UNWRAPPED_PHASE},
    GraphKindName{"real-imaginary",  CGraphParam::GRAPH_REAL_IMAGINARY},
    GraphKindName{"real",            CGraphParam::GRAPH_REAL},
    GraphKindName{"imaginary",       CGraphParam::GRAPH_IMAGINARY},
    GraphKindName{"nyquist",         CGraphParam::GRAPH_NYQUIST},
    GraphKindName{"line",            CGraphParam::GRAPH_VALUE},
    GraphKindName{"steps",           CGraphParam::GRAPH_STEPS},
    GraphKindName{"bars",            CGraphParam::GRAPH_BARS},
    GraphKindName{"marks",           CGraphParam::GRAPH_MARKS},
};
// clang-format on

plot::RecordGraphChoice ChoiceOf(const PlotOptions& options) {
    plot::RecordGraphChoice choice = ResolveGraphs(options.x, options.y, options.unit);
    if (options.suffix) {
        RequireSuffix(*options.suffix, CUnitCtrl());
        choice.suffixOf = [name = *options.suffix](const CUnitCtrl& unit) {
            return RequireSuffix(name, unit);
        };
    }
    if (options.show) choice.graphKind = Choose(kGraphKinds, "--show", *options.show).kind;
    if (options.panes == "channel") choice.paneMode = CGraphParam::PANE_PER_ROW;
    return choice;
}

/// A graph for the chosen channels of each record, or for each of them.
std::vector<plot::RecordGraph> MakeGraphs(const DataFileContent& content, const PlotOptions& options,
                                          const plot::RecordGraphChoice& choice) {
    std::vector<plot::RecordGraph> graphs;
    const std::vector<Channel> channels = SelectChannels(content, options.channels);
    bool isUnitUsed = !choice.unit;
    bool isKindUsed = !choice.graphKind;
    bool isSuffixUsed = !choice.suffixOf;
    for (std::size_t first = 0; first < channels.size();) {
        const CComDataBase& record = content.records[channels[first].record];
        std::vector<plot::RecordCell> cells;
        std::size_t next = first;
        do {
            const Channel& channel = channels[next++];
            cells.push_back({channel.row, channel.column, channel.name});
        } while (choice.paneMode == CGraphParam::PANE_SINGLE && next < channels.size() &&
                 channels[next].record == channels[first].record);
        if (std::ssize(cells) > CGraphLineInfoList::GetMaxLineNum()) {
            throw Error(ErrorKind::kBadValue, "a graph shows at most " +
                                                  std::to_string(CGraphLineInfoList::GetMaxLineNum()) +
                                                  " channels; choose some with --channels");
        }
        graphs.push_back(plot::MakeRecordGraph(record, cells, choice));
        const CGraphParam::Cells& drawn = graphs.back().param.m_cells;
        isUnitUsed = isUnitUsed || IsConvertible(record.GetUnit(), *choice.unit);
        isKindUsed = isKindUsed || drawn.graphKind == *choice.graphKind;
        isSuffixUsed = isSuffixUsed || plot::AreAmplitudes(drawn.dataKind);
        first = next;
    }
    if (!isUnitUsed)
        throw Error(ErrorKind::kBadValue, "no channel has a unit that converts to " + Quote(options.unit));
    if (!isKindUsed) {
        throw Error(ErrorKind::kBadValue,
                    "--show " + *options.show + " is for " +
                        (plot::DrawsComplexValues(*choice.graphKind) ? "complex lines" : "real values") +
                        ", which no channel has");
    }
    if (!isSuffixUsed) throw Error(ErrorKind::kBadValue, "--suffix is for amplitudes, which no channel has");
    return graphs;
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

void RunPlot(const PlotOptions& options, ByteStream& out) {
    RequireOneStandardInput({options.input, options.profile, options.picture.settings});
    const PictureTarget target = ResolvePicture(options.picture, {options.input, options.profile});
    const plot::RecordGraphChoice choice = ChoiceOf(options);
    const DataFileContent content = Doing("read", options.input, [&] { return LoadDataFile(options.input); });
    std::vector<plot::RecordGraph> graphs =
        Doing("draw", options.input, [&] { return MakeGraphs(content, options, choice); });
    if (!options.profile.empty()) {
        Doing("draw", options.profile,
              [&] { AddProfileText(graphs, ReadProfileText(InputPath(options.profile))); });
    }
    const plot::GraphSheet sheet = Doing("draw", options.input, [&] {
        const std::wstring title = target.title.value_or(content.header.GetName());
        plot::GraphSheet made(std::move(graphs), title, target.look);
        made.RequireSomethingSeen(choice.y.name);
        return made;
    });
    WriteSheet(options.picture, target, sheet, out);
}

}  // namespace

void AddPlot(Command app) {
    const auto options = std::make_shared<PlotOptions>();
    Command command = app.AddCommand("plot", "Draw waveforms, spectra, densities and transfer functions");
    command.AddOption("FILE", options->input, "Data file").Required();
    AddPictureOptions(command, &options->picture);
    AddChannelOptions(command, &options->channels);
    AddAxisOptions(command, "x", "seconds or hertz; either may be left out: 10,2000 or 10,", &options->x);
    AddAxisOptions(command, "y", "the unit of the values; of phases in degrees", &options->y);
    command.AddOption("--unit", options->unit, "Show the values in this unit: m/s2, (m/s2)2/Hz ...")
        .Type("UNIT");
    command
        .AddOption("--suffix", options->suffix,
                   "Show amplitudes as 0-p, p-p (twice the number) or rms, as is usual for the dimension "
                   "(usual), or without a word (none)")
        .Type("SUFFIX");
    command
        .AddOption("--show", options->show,
                   "What is drawn: of complex lines magnitude-phase (the default), one or both parts, their "
                   "locus (nyquist); of real values a line, steps, bars or marks")
        .Type("WHAT")
        .OneOf(NameList(kGraphKinds));
    command
        .AddOption("--panes", options->panes, "A pane for the channels of each record, or for each channel")
        .Type("BY")
        .OneOf({"record", "channel"})
        .ShowDefault();
    command
        .AddOption("--profile", options->profile,
                   "Draw this profile (see 'kvx synth') into the panes of densities")
        .Type("FILE");
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
    command.OnRun([=](ByteStream& out) { RunPlot(*options, out); });
}

}  // namespace kvx::tool
