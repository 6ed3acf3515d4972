// SPDX-License-Identifier: MIT
//
// The first program of docs/first-hour.md: the density of every channel of a recording, whatever its format.
// first [FILE]; without a file it writes a table to read.
//
// It prints:
//
//     top: rms 2.12132 g, highest line at 40 Hz
//     base: rms 0.707107 g, highest line at 40 Hz
#include <cmath>
#include <cstdio>
#include <exception>
#include <fstream>

#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/RecordingAnalysis.h>

int main(int count, char** arguments) try {
    const char* path = count > 1 ? arguments[1] : "shaker.csv";
    if (count < 2) {
        std::ofstream table(path);
        table.precision(10);
        table << "time [s],top [g],base [g]\n";
        for (int i = 0; i < 8192; ++i) {
            const double wave = std::sin(2 * 3.14159265358979 * 40 * i / 1024);
            table << i / 1024.0 << ',' << 3 * wave << ',' << wave << '\n';
        }
    }

    const auto reader = kvx::OpenSignal(path);
    const auto spectra = kvx::SpectraOf(*reader, {kvx::LineKind::kDensity, kvx::PlanBlocks(1024)});
    for (const kvx::RecordSpectra& record : spectra) {
        for (const kvx::ChannelSpectrum& channel : record.channels) {
            std::printf("%s: rms %.6g %s, highest line at %g Hz\n", kvx::ToUtf8(channel.channel.name).c_str(),
                        channel.figures.rms, kvx::UnitText(record.unit).c_str(), channel.figures.highestHz);
        }
    }
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
