// SPDX-License-Identifier: MIT
#include "plot.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/files/Channels.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/NearNames.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxPlot01/GraphSheet.h>
#include <KvxPlot01/Picture.h>
#include <KvxPlot01/RecordGraph.h>
#include <KvxRecording01/ProfileText.h>

#include "recordings.h"
#include "signals.h"
#include "units.h"

namespace kvx::python {
namespace {

using Bounds = std::optional<std::pair<std::optional<double>, std::optional<double>>>;

/// Graphs on one picture, with the records that they show.
struct Graph {
    std::vector<ContentPointer> contents;
    plot::GraphSheet sheet;
    plot::Size size;
    double dpi;

    std::string Picture(plot::PictureFormat format, plot::Size pixels, double pixelsPerInch,
                        int quality) const {
        plot::PictureOptions options = plot::OptionsInPixels(format, pixels, pixelsPerInch);
        options.jpegQuality = quality;
        return plot::MakePicture(format, options, [&](plot::Canvas& canvas) { sheet.Draw(canvas); });
    }
};
using GraphPointer = std::unique_ptr<Graph>;

template <class Table>
const auto& Named(const Table& table, const std::string& name, const char* argument) {
    std::vector<std::string> names;
    for (const auto& each : table) {
        if (each.name == name) return each;
        names.emplace_back(each.name);
    }
    throw Error(ErrorKind::kUnknownName,
                std::string("there is no ") + argument + " " + Quote(name) + DidYouMean(name, names));
}

plot::Size SizeOf(const py::object& size, double dpi) {
    if (py::isinstance<py::str>(size)) {
        const auto text = py::cast<std::string>(size);
        if (const auto parsed = plot::ParsePictureSize(text, dpi)) return *parsed;
        Refuse(Quote(text) + " is no size such as 800x500, and not A4 or A3");
    }
    const auto pair = py::cast<std::pair<double, double>>(size);
    return {pair.first, pair.second};
}

std::optional<AxisForm> FormOf(const std::optional<std::string>& scale) {
    if (!scale) return std::nullopt;
    if (*scale == "log") return AxisForm::kLogarithmic;
    if (*scale == "linear") return AxisForm::kLinear;
    throw Error(ErrorKind::kUnknownName, "there is no scale " + Quote(*scale) + ", only linear and log");
}

plot::AxisChoice AxisOf(const char* name, const Bounds& bounds, const std::optional<std::string>& scale) {
    plot::AxisChoice axis;
    axis.name = name;
    axis.form = FormOf(scale);
    if (!bounds) return axis;
    axis.low = bounds->first;
    axis.high = bounds->second;
    if (axis.low && axis.high && !(*axis.low < *axis.high))
        Refuse(std::string(name) + ": the first bound is not below the second");
    return axis;
}

plot::RecordGraphChoice ChoiceOf(const Bounds& x, const Bounds& y, const std::optional<std::string>& xScale,
                                 const std::optional<std::string>& yScale, const py::object& unit) {
    plot::RecordGraphChoice choice;
    choice.x = AxisOf("x", x, xScale);
    choice.y = AxisOf("y", y, yScale);
    if (choice.y.low.has_value() != choice.y.high.has_value()) Refuse("y needs both bounds");
    if (!unit.is_none()) choice.unit = UnitOf(unit);
    choice.advice = "choose some with channels";
    return choice;
}

void AddProfiles(std::vector<plot::RecordGraph>& graphs, const Profile& profile) {
    bool isUsed = false;
    for (plot::RecordGraph& graph : graphs) {
        const CUnitCtrl& unit = graph.param.m_units.y;
        const std::optional<CUnitCtrl> own = profile.unit ? DensityUnit(*profile.unit) : unit;
        if (graph.param.m_cells.dataKind != CGraphParam::DATA_PSD || !own || !IsConvertible(*own, unit))
            continue;
        plot::AddProfile(graph, ProfileIn({profile.profile, profile.unit}, *own), L"profile");
        isUsed = true;
    }
    if (!isUsed) Refuse("no density to be drawn is of the unit of the profile");
}

GraphPointer Finished(std::vector<ContentPointer> contents, std::vector<plot::RecordGraph> graphs,
                      const std::string& title, const std::string& scheme, const py::object& size,
                      double dpi) {
    const auto look = plot::LookOf(Named(plot::kColorSchemes, scheme, "scheme").scheme);
    const plot::Size pixels = SizeOf(size, dpi);
    return Unlocked([&] {
        plot::GraphSheet sheet(std::move(graphs), FromUtf8Replacing(title), look);
        return GraphPointer(new Graph{std::move(contents), std::move(sheet), pixels, dpi});
    });
}

GraphPointer Plot(const py::object& data, const Listed& channels, const Bounds& x, const Bounds& y,
                  const std::optional<std::string>& xScale, const std::optional<std::string>& yScale,
                  const UnitLike& unit, const std::optional<std::string>& suffix,
                  const std::optional<std::string>& show, const std::string& panes,
                  const std::optional<std::string>& title, const std::string& scheme,
                  const std::optional<Profile>& profile, const py::object& size, double dpi,
                  const py::kwargs& more) {
    plot::RecordGraphChoice choice = ChoiceOf(x, y, xScale, yScale, unit);
    if (suffix) {
        if (!FindSuffix(*suffix, CUnitCtrl()))
            throw Error(ErrorKind::kUnknownName,
                        "there is no suffix " + Quote(*suffix) + ", only none, 0-p, p-p, rms and usual");
        choice.suffixOf = [name = *suffix](const CUnitCtrl& of) { return *FindSuffix(name, of); };
    }
    if (show) choice.graphKind = Named(plot::NamedGraphKinds(), *show, "way to show").kind;
    if (panes != "record" && panes != "channel")
        throw Error(ErrorKind::kUnknownName, "panes is record or channel");
    if (panes == "channel") choice.paneMode = CGraphParam::PANE_PER_ROW;
    const ContentPointer content = ContentOf(data, more);
    std::string list;
    for (const py::object& piece : PiecesOf(channels))
        list += (list.empty() ? "" : ",") + py::cast<std::string>(py::str(piece));
    std::vector<plot::RecordGraph> graphs = Unlocked([&] {
        const auto chosen = SelectChannels(*content, {list, 0});
        auto made = plot::MakeRecordGraphs(*content, chosen, choice);
        const auto suits = [&](const plot::RecordGraph& graph) {
            return !choice.unit || IsConvertible(graph.param.m_units.y, *choice.unit);
        };
        if (std::ranges::none_of(made, suits))
            Refuse("no channel has a unit that converts to " + Quote(NameOf(*choice.unit)));
        if (profile) AddProfiles(made, *profile);
        return made;
    });
    auto graph = Finished({content}, std::move(graphs), title.value_or(ToUtf8(content->header.GetName())),
                          scheme, size, dpi);
    graph->sheet.RequireSomethingSeen();
    return graph;
}

GraphPointer PlotSlices(const py::object& recording, const WindowLike& window,
                        std::optional<std::int64_t> nperseg, std::optional<std::int64_t> noverlap,
                        const std::string& kind, bool isWaterfall, std::optional<std::int64_t> slices,
                        const Bounds& x, const Bounds& y, const std::optional<std::string>& xScale,
                        const std::optional<std::string>& yScale, const UnitLike& unit,
                        const std::optional<std::string>& title, const std::string& scheme,
                        const py::object& size, double dpi, const py::kwargs& more) {
    const plot::RecordGraphChoice choice = ChoiceOf(x, y, xScale, yScale, unit);
    const RecordingPointer of = RecordingOf(recording, more);
    const py::object made = py::cast(of).attr("spectrogram")(window, nperseg, noverlap, kind,
                                                             slices.value_or(isWaterfall ? 40 : 600));
    std::vector<ContentPointer> contents;
    std::vector<plot::RecordGraph> graphs;
    std::size_t at = 0;
    for (const SignalRun& run : of->Runs()) {
        for (const SignalRun::Channel& channel : run.channels) {
            const py::tuple slice = made[py::int_(at++)];
            auto content = std::make_shared<DataFileContent>();
            content->records.push_back(py::cast<const CComDataBase&>(slice[0]));
            plot::SliceCourse course;
            course.startSeconds = py::cast<double>(slice[1]);
            course.intervalSeconds = py::cast<double>(slice[2]);
            course.isWaterfall = isWaterfall;
            course.dynamicRange = kind == "density" ? 1e6 : 1e3;
            graphs.push_back(plot::MakeSliceGraph(content->records.front(), channel.name, course, choice));
            contents.push_back(std::move(content));
        }
    }
    return Finished(std::move(contents), std::move(graphs), title.value_or(ToUtf8(of->Text())), scheme, size,
                    dpi);
}

py::bytes Bytes(const Graph& self, const std::string& format, const py::object& size,
                std::optional<double> dpi, int quality) {
    const auto known = plot::PictureFormatOf(WidePath("." + format));
    if (!known)
        throw Error(ErrorKind::kUnknownName,
                    "there is no format " + Quote(format) + ", only svg, pdf, png and jpeg");
    const double resolution = dpi.value_or(self.dpi);
    const plot::Size pixels = size.is_none() ? self.size : SizeOf(size, resolution);
    return py::bytes(Unlocked([&] { return self.Picture(*known, pixels, resolution, quality); }));
}

void Save(const Graph& self, const PathLike& path, const py::object& size, std::optional<double> dpi,
          int quality) {
    const std::string name = PathOf(path);
    const auto format = plot::PictureFormatOf(WidePath(name));
    if (!format)
        throw Error(ErrorKind::kUnknownName,
                    Quote(name) + " ends in none of .svg, .pdf, .png, .jpg and .jpeg");
    const double resolution = dpi.value_or(self.dpi);
    plot::PictureOptions options =
        plot::OptionsInPixels(*format, size.is_none() ? self.size : SizeOf(size, resolution), resolution);
    options.jpegQuality = quality;
    UnlockedOn(name, [&] {
        plot::WritePicture(WidePath(name), *format, options,
                           [&](plot::Canvas& canvas) { self.sheet.Draw(canvas); });
    });
}

}  // namespace

void BindPlot(py::module_& module) {
    py::class_<Graph> graph(
        module, "Graph",
        "Graphs on one picture, made by plot() and plot_spectrogram(); a notebook shows it.");
    graph.def("save", &Save, py::arg("path"), py::arg("size") = py::none(), py::arg("dpi") = py::none(),
              py::arg("quality") = 90,
              R"(Writes a picture; the end of the path says which: .svg, .pdf, .png, .jpg.

size: (width, height) in pixels, "800x500", "A4" or "A3"; dpi: pixels per inch; quality: of JPEG, 1 to 100)");
    graph.def("bytes", &Bytes, py::arg("format") = "png", py::arg("size") = py::none(),
              py::arg("dpi") = py::none(), py::arg("quality") = 90,
              "The bytes of a picture: \"svg\", \"pdf\", \"png\" or \"jpeg\"; other arguments as save.");
    graph.def(
        "_repr_png_", [](const Graph& self) { return Bytes(self, "png", py::none(), std::nullopt, 90); },
        "The picture for a notebook.");
    graph.def(
        "_repr_svg_",
        [](const Graph& self) {
            return Unlocked([&] { return self.Picture(plot::PictureFormat::kSvg, self.size, self.dpi, 90); });
        },
        "The picture for a notebook.");
    graph.def(
        "__len__", [](const Graph& self) { return self.sheet.Count(); }, "Graphs on the picture.");

    module.def("plot", &Plot, py::arg("data"), py::arg("channels") = py::none(), py::arg("x") = py::none(),
               py::arg("y") = py::none(), py::arg("x_scale") = py::none(), py::arg("y_scale") = py::none(),
               py::arg("unit") = py::none(), py::arg("suffix") = py::none(), py::arg("show") = py::none(),
               py::arg("panes") = "record", py::arg("title") = py::none(), py::arg("scheme") = "white",
               py::arg("profile") = py::none(), py::arg("size") = std::make_pair(800, 500),
               py::arg("dpi") = 96.0,
               R"(Draws waveforms, spectra, densities or transfer functions as a Graph.

data:     a Recording, a DataFile, Records, Spectrum or Transfer objects, or arrays with the arguments of recording()
channels: names, numbers from 1 or ranges
x, y:     bounds: s or Hz, either may be None; in the shown unit, of phases in degrees
x_scale, y_scale: "linear" or "log"; without a choice what suits
unit:     to show the values in
suffix:   amplitudes as "0-p", "p-p", "rms", "usual" or "none"
show:     "magnitude-phase", "nyquist", "steps", "bars" ...
panes:    one for the channels of each "record", or for each "channel"
scheme:   "white", "black" or "printer"
profile:  to draw into densities
size:     (width, height) in pixels, "800x500", "A4" or "A3"; dpi: pixels per inch)");
    module.def("plot_spectrogram", &PlotSlices, py::arg("recording"), py::arg("window") = "hann",
               py::arg("nperseg") = py::none(), py::arg("noverlap") = py::none(),
               py::arg("kind") = "amplitude", py::arg("waterfall") = false, py::arg("slices") = py::none(),
               py::arg("x") = py::none(), py::arg("y") = py::none(), py::arg("x_scale") = py::none(),
               py::arg("y_scale") = py::none(), py::arg("unit") = py::none(), py::arg("title") = py::none(),
               py::arg("scheme") = "white", py::arg("size") = std::make_pair(800, 500), py::arg("dpi") = 96.0,
               R"(Draws how the spectrum of each channel changes, as a colour map or a waterfall.

kind: "amplitude" or "density"; slices: most that are drawn, more blocks are averaged; other arguments as plot and psd)");
}

}  // namespace kvx::python
