// SPDX-License-Identifier: MIT
//
// A folder of recordings: each is analysed on a core of its own, one that cannot be read does not stop the
// others, and the results come in the order of the names, whichever is ready first.
//
// It prints:
//
//     run1.csv: rms 0.707107 g, highest line at 50 Hz
//     run2.csv: rms 1.41421 g, highest line at 100 Hz
//     run3.csv: no line of it is a row of numbers; line 1 begins 'unfinished'
//     run4.csv: rms 2.82843 g, highest line at 200 Hz
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <string>
#include <vector>

#include <KvxDevCommon01/Kvx.h>
#include <KvxRecording01/RecordingAnalysis.h>

namespace {

void WriteRuns(const std::filesystem::path& folder) {
    std::filesystem::create_directory(folder);
    for (int run = 1; run <= 4; ++run) {
        std::ofstream table(folder / ("run" + std::to_string(run) + ".csv"));
        table.precision(10);
        if (run == 3) {
            table << "unfinished\n";
            continue;
        }
        table << "time [s],top [g]\n";
        for (int i = 0; i < 8192; ++i)
            table << i / 1024.0 << ',' << run * std::sin(2 * std::numbers::pi * 50 * run * i / 1024) << '\n';
    }
}

/// What there is to say of one recording, or why there is nothing.
std::string Report(const std::filesystem::path& path) try {
    const auto reader = kvx::OpenSignal(path.string());
    const auto spectra = kvx::SpectraOf(*reader, {kvx::LineKind::kDensity, kvx::PlanBlocks(1024)});
    const kvx::RecordSpectra& record = spectra.front();
    const kvx::SpectrumFigures& figures = record.channels.front().figures;
    return "rms " + kvx::FormatNumber(figures.rms) + " " + kvx::UnitText(record.unit) + ", highest line at " +
           kvx::FormatNumber(figures.highestHz) + " Hz";
} catch (...) {
    return kvx::Error::Current().Sentence();
}

}  // namespace

int main() {
    WriteRuns("runs");
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::directory_iterator("runs")) paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());

    std::vector<std::string> reports(paths.size());
    kvx::ForEachInParallel(paths.size(), [&](std::size_t i) { reports[i] = Report(paths[i]); });
    for (std::size_t i = 0; i < paths.size(); ++i)
        std::printf("%s: %s\n", paths[i].filename().c_str(), reports[i].c_str());
    return 0;
}
