// SPDX-License-Identifier: MIT
#include <KvxPlot01/GraphLook.h>
#include <KvxPlot01/GraphSheet.h>
#include <KvxPlot01/RecordGraph.h>

#include <cmath>
#include <functional>
#include <tuple>

#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/files/RecordSamples.h>
#include <KvxDevCommon01/graph/GraphSettings.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/units/UnitText.h>

#include "tests/plot/PlotTesting.h"
#include "tests/support/TempFolder.h"

namespace kvx::plot {
namespace {

using Param = CGraphParam;
using testing::Contains;

CUnitCtrl Unit(const wchar_t* name) {
    return *ParseUnit(name);
}

/// A record with a row of eight samples 1, 2 ... per name, from 0 on at distances of `delta`.
template <class Record>
Record RecordOf(const wchar_t* unit, double delta = 10.0, const CStringArray* references = nullptr,
                const CStringArray& names = {L"a", L"b"}) {
    Record record(delta, std::ssize(names), 1, 8, 0, Unit(unit), &names, references);
    for (__int64 row = 0; row < record.GetNumRow(); ++row) {
        double value = 0.0;
        for (double& sample : Samples(record, row, 0)) sample = ++value;
        for (double& sample : ImaginarySamples(record, row, 0)) sample = --value;
    }
    return record;
}

RecordGraph GraphOf(const CComDataBase& record, const RecordGraphChoice& choice = {}) {
    const RecordCell cells[] = {{0, 0, L"a"}, {1, 0, L"b"}};
    return MakeRecordGraph(record, cells, choice);
}

/// The sentence of the Error that an action throws; empty without one.
std::string SentenceOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const Error& error) {
        return error.Sentence();
    }
    return {};
}

const CStringArray kForce = {L"force"};

TEST(RecordGraph, DrawsEachKindOfRecordAsIsCustomary) {
    const struct {
        CComDataBase record;
        Param::DATA_KIND data;
        Param::GRAPH_KIND graph;
        bool isLogX, isLogY;
        std::wstring x, y;
    } cases[] = {
        {RecordOf<CComDataWave>(L"g"), Param::DATA_WAVEFORM, Param::GRAPH_VALUE, false, false, L"Time",
         L"Acceleration"},
        {RecordOf<CComDataSpecA>(L"g"), Param::DATA_SPECTRUM, Param::GRAPH_VALUE, true, true, L"Frequency",
         L"Acceleration"},
        {RecordOf<CComDataSpecA>(L"g2/Hz"), Param::DATA_PSD, Param::GRAPH_VALUE, true, true, L"Frequency",
         L"Power spectral density"},
        {RecordOf<CComDataSpecA>(L"", 10.0, &kForce), Param::DATA_COHERENCE, Param::GRAPH_VALUE, true, false,
         L"Frequency", L"Coherence"},
        {RecordOf<CComDataSpecA>(L""), Param::DATA_SPECTRUM, Param::GRAPH_VALUE, true, true, L"Frequency",
         L"Value"},
        {RecordOf<CComDataSpecA>(L"dB"), Param::DATA_SPECTRUM, Param::GRAPH_VALUE, true, false, L"Frequency",
         L"Ratio"},
        {RecordOf<CComDataSpecF>(L"g", 10.0, &kForce), Param::DATA_TRANSFER, Param::GRAPH_MAGNITUDE_PHASE,
         true, true, L"Frequency", L"Transfer function"},
        {RecordOf<CComDataSpecF>(L"g"), Param::DATA_COMPLEX_SPECTRUM, Param::GRAPH_MAGNITUDE_PHASE, true,
         true, L"Frequency", L"Acceleration"},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const auto& wanted = cases[i];
        const RecordGraph graph = GraphOf(wanted.record);
        EXPECT_EQ(graph.param.m_cells.dataKind, wanted.data) << i;
        EXPECT_EQ(graph.param.m_cells.graphKind, wanted.graph) << i;
        EXPECT_EQ(graph.scale.m_bXLog != 0, wanted.isLogX) << i;
        EXPECT_EQ(graph.scale.m_bYLog != 0, wanted.isLogY) << i;
        EXPECT_EQ(graph.content.xName, wanted.x) << i;
        EXPECT_EQ(graph.content.yName, wanted.y) << i;
        EXPECT_EQ(graph.content.series.size(), 2U) << i;
        EXPECT_EQ(graph.scale.m_bYAuto == 0, wanted.data == Param::DATA_COHERENCE) << i;
    }
    EXPECT_EQ(GraphOf(cases[1].record).param.m_frame.suffix.y, CValConv::SUFFIX_ZERO_TO_PEAK);
}

TEST(RecordGraph, FollowsTheChoice) {
    const CComDataSpecF record = RecordOf<CComDataSpecF>(L"g");
    RecordGraphChoice choice;
    choice.unit = Unit(L"m/s2");
    choice.y = {9.80665, 19.6133, {}, "y"};
    EXPECT_DOUBLE_EQ(GraphOf(record, choice).scale.m_dYMax, 19.6133);
    choice.unit = Unit(L"N");  // does not suit
    EXPECT_DOUBLE_EQ(GraphOf(record, choice).scale.m_dYMax, 19.6133 * 9.80665);
    choice.graphKind = Param::GRAPH_PHASE;
    choice.y = {-90.0, 45.0, {}, "y"};
    EXPECT_DOUBLE_EQ(GraphOf(record, choice).scale.m_dYMin, -std::acos(0.0)) << "degrees";
    choice.graphKind = Param::GRAPH_BARS;  // for real values
    EXPECT_EQ(GraphOf(record, choice).param.m_cells.graphKind, Param::GRAPH_MAGNITUDE_PHASE);
    choice.suffixOf = [](const CUnitCtrl&) { return CValConv::SUFFIX_RMS; };
    EXPECT_EQ(GraphOf(record, choice).param.m_frame.suffix.y, CValConv::SUFFIX_RMS);

    // A bound that is not above 0 makes an axis linear.
    using Bound = std::optional<double>;
    for (const auto& [low, high, isLog] : {std::tuple{Bound(10), Bound(30), true},
                                           {Bound(0), Bound(30), false},
                                           {Bound(-1), Bound(), false},
                                           {Bound(10), Bound(), true}}) {
        const RecordGraph graph = GraphOf(record, {.x = {low, high, {}, "x"}});
        EXPECT_EQ(graph.scale.m_bXLog != 0, isLog);
        EXPECT_EQ(graph.scale.m_dXMax, high.value_or(70.0));
    }
    // Of a locus the lines between the bounds are drawn.
    const RecordGraphChoice band = {.x = {19.0, 41.0, {}, "x"}, .graphKind = Param::GRAPH_NYQUIST};
    const GraphSeries locus = GraphOf(record, band).content.series[1];
    EXPECT_THAT(locus.real, testing::ElementsAre(3.0, 4.0, 5.0));
    EXPECT_THAT(locus.imaginary, testing::ElementsAre(5.0, 4.0, 3.0));
}

TEST(RecordGraph, TellsWhatItCannotShow) {
    constexpr auto kLog = AxisForm::kLogarithmic;
    const CComDataWave wave = RecordOf<CComDataWave>(L"g", 0.5);
    const CComDataSpecF lines = RecordOf<CComDataSpecF>(L"g");
    const auto sentence = [](const CComDataBase& record, const RecordGraphChoice& choice) {
        return SentenceOf([&] {
            std::vector<RecordGraph> graphs;
            graphs.push_back(GraphOf(record, choice));
            GraphSheet(std::move(graphs), L"").RequireSomethingSeen("Y");
        });
    };
    EXPECT_EQ(sentence(wave, {}), "");
    EXPECT_EQ(sentence(wave, {.x = {20.0, 30.0, {}, "X"}}),
              "X shows none of its samples, which reach from 0 s to 3.5 s");
    EXPECT_EQ(sentence(wave, {.x = {-1e308, 1e308, {}, "X"}}), "no axis can reach from -1e+308 to 1e+308");
    EXPECT_EQ(sentence(wave, {.y = {1.0, {}, {}, "Y"}}), "Y needs both bounds");
    EXPECT_EQ(sentence(wave, {.y = {9.0, 10.0, {}, "Y"}}),
              "Y shows none of its values, which reach from 0.101972 to 0.815773");
    EXPECT_EQ(sentence(lines, {.x = {{}, {}, kLog, "X"}, .graphKind = Param::GRAPH_NYQUIST}),
              "X-scale log: the axes of a locus are linear");
    const CComDataWave silence(0.5, 2, 1, 8, 0, Unit(L"g"), nullptr, nullptr);
    EXPECT_EQ(sentence(silence, {.y = {{}, {}, kLog, "Y"}}), "Y-scale log: it has no value above 0");
    const std::vector<RecordCell> many(65, RecordCell{0, 0, L"a"});
    EXPECT_EQ(SentenceOf([&] { MakeRecordGraph(wave, many); }), "a graph shows at most 64 channels");
}

TEST(RecordGraph, StandsSlicesBehindEachOther) {
    CComDataSpecA slices = RecordOf<CComDataSpecA>(L"g", 10.0, nullptr, CStringArray(5));
    Samples(slices, 2, 0)[3] = 1e6;
    const RecordGraph graph = MakeSliceGraph(slices, L"a", {2.0, 0.25, true, 1e3});
    EXPECT_EQ(graph.param.m_z.dispType, Param::GRAPHDISP_WATERFALL);
    EXPECT_EQ(graph.param.m_z.num, 5);
    EXPECT_EQ(graph.param.m_z.start, 2.0);
    EXPECT_EQ(graph.content.series.size(), 5U);
    EXPECT_DOUBLE_EQ(graph.scale.m_dYMin, 1e3);
    EXPECT_DOUBLE_EQ(graph.scale.m_dYMax, 1e6);
    EXPECT_EQ(SentenceOf([&] {
                  MakeSliceGraph(slices, L"a", {}, {.y = {1e6, 1e7, {}, "Y"}});
              }),
              "Y shows none of the levels of channel 'a'");

    // A colour map is filled by its lines, and levels of nothing but 0 stand above 0.
    const CComDataSpecA silence(10.0, 2, 1, 8, 0, Unit(L"g"), nullptr, nullptr);
    const RecordGraph map = MakeSliceGraph(silence, L"a", {});
    EXPECT_TRUE(map.scale.m_bXAuto && map.scale.m_bXFullRange);
    EXPECT_FALSE(graph.scale.m_bXFullRange);
    EXPECT_EQ(map.scale.m_dYMin, 0.0);
    EXPECT_DOUBLE_EQ(map.scale.m_dYMax, 9.80665);
}

TEST(GraphSheet, StandsGraphsBelowEachOtherInLineUnderOneTitle) {
    const CComDataSpecA psd = RecordOf<CComDataSpecA>(L"g2/Hz");
    const CComDataWave wave = RecordOf<CComDataWave>(L"g", 1e-7);
    std::vector<RecordGraph> graphs;
    graphs.push_back(GraphOf(psd));
    graphs.push_back(GraphOf(wave));
    const PsdProfile profile(std::vector<double>{10.0, 40.0, 60.0}, std::vector<double>{1.0, 4.0, 4.0});
    AddProfile(graphs[0], profile, L"limit");
    const GraphSeries line = graphs[0].content.series.back();
    EXPECT_EQ(line.real.size(), 65U);
    for (std::size_t i = 0; i < 33; ++i) EXPECT_NEAR(line.real[i], line.x[i] / 10.0, 1e-12) << "straight";

    const GraphLook look = LookOf(ColorScheme::kBlack);
    const GraphSheet sheet(graphs, L"Both", look);
    EXPECT_EQ(sheet.Count(), 2U);
    RecordingCanvas canvas;
    sheet.Draw(canvas);
    EXPECT_THAT(canvas.Texts(), Contains(L"Both"));
    EXPECT_THAT(canvas.Texts(), Contains(L"limit"));
    const auto frames =
        canvas.Of(look.settings.GetGraphColorInfo()->GetCompoInfo(CGraphColorInfo::COMPO_FRAME, look.output));
    std::vector<Rect> plots;  // the frames of the plots are the widest shapes of that colour
    for (const RecordingCanvas::Shape& shape : frames) {
        const std::span<const Point> points = shape.path.GetPoints();
        if (points.size() == 4 && points[1].x - points[0].x > 400.0)
            plots.push_back({points[0].x, points[0].y, points[2].x, points[2].y});
    }
    ASSERT_EQ(plots.size(), 2U);
    EXPECT_EQ(plots[0].left, plots[1].left);
    EXPECT_EQ(plots[0].right, plots[1].right);
    EXPECT_LT(plots[0].bottom, plots[1].top);
}

TEST(GraphSettings, AreReadAsTheyWereStored) {
    const TempFolder folder;
    const GraphLook look = LookOf(ColorScheme::kWhite);
    const std::wstring path = (folder / "white.gci2").wstring();
    StoreGraphSettings(path, look.settings);
    const auto load = [](const std::wstring& name) {
        InputFile file(name);
        return LoadGraphSettings(file);
    };
    const auto colors = [](CGraphInfo settings) { return *settings.GetGraphColorInfo(); };
    EXPECT_TRUE(colors(load(path)) == colors(look.settings));
    EXPECT_FALSE(colors(load(path)) == colors(CGraphInfo()));
    // A file of colours alone ends where the configuration would begin.
    const std::string bytes = folder.Read("white.gci2");
    folder.Write("colours.gci2", bytes.substr(0, 35'716));
    EXPECT_TRUE(colors(load((folder / "colours.gci2").wstring())) == colors(look.settings));
    folder.Write("short.gci2", bytes.substr(0, 36'000));
    folder.Write("other.gci2", "other");
    const auto sentence = [&](const char* name) {
        return SentenceOf([&] { load((folder / name).wstring()); });
    };
    EXPECT_EQ(sentence("short.gci2"), "its configuration is damaged");
    EXPECT_EQ(sentence("other.gci2"), "it holds no graph settings");
    EXPECT_NE(SentenceOf([&] { StoreGraphSettings(L"/dev/null/none", look.settings); }), "");
}

}  // namespace
}  // namespace kvx::plot
