// SPDX-License-Identifier: MIT
#include <KvxPlot01/Graph.h>
#include <KvxPlot01/GraphSheet.h>
#include <KvxPlot01/Picture.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>
#include <utility>
#include <vector>

#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/files/RecordSamples.h>
#include <KvxDevCommon01/units/UnitText.h>

namespace {

using namespace kvx::plot;

std::vector<double> Noise(std::size_t count) {
    std::mt19937 random(1);
    std::normal_distribution<double> value;
    std::vector<double> noise(count);
    for (double& sample : noise) sample = value(random);
    return noise;
}

/// A wave of that many samples, shown in g over s.
void Plot(benchmark::State& state, PictureFormat format, bool isLogarithmic, bool hasXValues) {
    const auto count = static_cast<std::size_t>(state.range(0));
    const std::vector<double> samples = Noise(count);
    std::vector<double> x(count);
    std::iota(x.begin(), x.end(), 1.0);
    CGraphParam param;
    param.m_cells.rowNum = param.m_cells.colNum = 1;
    param.m_cells.rowNames = param.m_cells.colNames = {L"noise"};
    param.m_lines.CreateInfo(1);
    param.m_x.num = static_cast<__int64>(count);
    param.m_x.interval = param.m_x.start = 1e-4;
    param.m_units.x = *kvx::ParseUnit(L"s");
    param.m_units.y = *kvx::ParseUnit(L"g");
    param.m_series.num = 1;
    CScaleParam scale;
    scale.m_bXAuto = 1;
    scale.m_bXLog = scale.m_bYLog = isLogarithmic;
    const CGraphInfo info;
    GraphContent content;
    content.series = {{samples, {}, hasXValues ? std::span<const double>(x) : std::span<const double>()}};
    for (auto _ : state) {
        const std::string bytes = MakePicture(format, {{800.0, 500.0}}, [&](Canvas& canvas) {
            DrawGraph({&param, &scale, &info, &content}, canvas);
        });
        benchmark::DoNotOptimize(bytes);
    }
    state.SetItemsProcessed(state.iterations() * param.m_x.num);
}

/// Waveforms of 1000 samples, a graph each, on one sheet.
void Sheet(benchmark::State& state) {
    const std::vector<double> samples = Noise(1000);
    CComDataWave wave(1e-3, state.range(0), 1, std::ssize(samples), 0, *kvx::ParseUnit(L"g"), nullptr,
                      nullptr);
    for (__int64 row = 0; row < wave.GetNumRow(); ++row)
        std::ranges::copy(samples, kvx::Samples(wave, row, 0).begin());
    for (auto _ : state) {
        std::vector<RecordGraph> graphs;
        for (__int64 row = 0; row < wave.GetNumRow(); ++row) {
            const RecordCell cell{row, 0, L"noise"};
            graphs.push_back(MakeRecordGraph(wave, {&cell, 1}));
        }
        const GraphSheet sheet(std::move(graphs), L"Noise");
        benchmark::DoNotOptimize(
            MakePicture(PictureFormat::kSvg, {{800.0, 500.0}}, [&](Canvas& canvas) { sheet.Draw(canvas); }));
    }
}
BENCHMARK(Sheet)->Arg(1)->Arg(12)->Unit(benchmark::kMillisecond);

BENCHMARK_CAPTURE(Plot, Png, PictureFormat::kPng, false, false)
    ->Arg(1000)
    ->Arg(1'000'000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Plot, PngLogarithmic, PictureFormat::kPng, true, false)
    ->Arg(1'000'000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Plot, PngOverXValues, PictureFormat::kPng, false, true)
    ->Arg(1'000'000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Plot, Jpeg, PictureFormat::kJpeg, false, false)
    ->Arg(1'000'000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Plot, Svg, PictureFormat::kSvg, false, false)
    ->Arg(1'000'000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Plot, Pdf, PictureFormat::kPdf, false, false)
    ->Arg(1'000'000)
    ->Unit(benchmark::kMillisecond);

}  // namespace
