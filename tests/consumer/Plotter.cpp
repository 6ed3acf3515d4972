// SPDX-License-Identifier: MIT
//
// A program that draws a picture of its own with the installed plotting library: plotter FILE
#include <cstdio>
#include <string>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxPlot01/ChartDrawing.h>
#include <KvxPlot01/ChartLayout.h>
#include <KvxPlot01/Picture.h>

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) return 2;
    const std::string name = arguments[1];
    const std::wstring path(name.begin(), name.end());
    const auto format = kvx::plot::PictureFormatOf(path);
    if (!format) return 2;

    const std::vector<double> squares = {0.0, 1.0, 4.0, 9.0, 16.0};
    kvx::plot::Chart chart;
    chart.x.bounds = {0.0, 4.0};
    chart.y.bounds = {0.0, 16.0};
    kvx::plot::ChartCurve& curve = chart.curves.emplace_back();
    curve.name = L"squares";
    curve.samples.y = squares;

    const CGraphColorInfo colors;
    try {
        kvx::plot::WritePicture(path, *format, {}, [&](kvx::plot::Canvas& canvas) {
            const auto [width, height] = canvas.GetSize();
            const auto layout =
                kvx::plot::LayOutChart(chart, {0.0, 0.0, width, height}, canvas.GetPointLength(), canvas);
            kvx::plot::DrawChart(chart, layout, {&colors}, canvas);
        });
    } catch (const kvx::Error& error) {
        std::printf("cannot draw %s\n", error.what());
        return 1;
    }
    return 0;
}
