// SPDX-License-Identifier: MIT
//
// A record as a picture: an oscillation that dies away is drawn as decay.png, shown in g over seconds.
//
// It prints:
//
//     decay.png
#include <cmath>
#include <cstdio>
#include <numbers>

#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/files/RecordSamples.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxPlot01/GraphSheet.h>
#include <KvxPlot01/Picture.h>

int main() {
    constexpr double kRateHz = 1000.0;
    const CUnitCtrl g = kvx::NamedUnit("g");
    CComDataWave wave(1.0 / kRateHz, 1, 1, 1000, 0, g, nullptr, nullptr);
    double seconds = 0.0;
    for (double& sample : kvx::Samples(wave, 0, 0)) {
        const double shown =
            5.0 * std::exp(-4.0 * seconds) * std::sin(2.0 * std::numbers::pi * 20.0 * seconds);
        sample = g.ConvItoD(shown, 1.0, 1);
        seconds += 1.0 / kRateHz;
    }

    using namespace kvx::plot;
    try {
        const RecordCell cell{0, 0, L"table"};
        const GraphSheet sheet({MakeRecordGraph(wave, {&cell, 1})}, L"An oscillation that dies away");
        WritePicture(L"decay.png", PictureFormat::kPng, {}, [&](Canvas& canvas) { sheet.Draw(canvas); });
    } catch (const kvx::Error& error) {
        std::printf("%s\n", error.what());
        return 1;
    }
    std::puts("decay.png");
    return 0;
}
