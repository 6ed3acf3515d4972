// SPDX-License-Identifier: MIT
//
// From one format to others, block by block: a table becomes a universal file and a MATLAB file, in
// millimetres per second instead of metres, and both hold the same samples. kvx::Formats() lists what can be
// read and written.
//
// It prints:
//
//     velocity.uff: 512 samples every 0.001 s, velocity in mm/s, peak 250
//     velocity.mat: 512 samples every 0.001 s, velocity in mm/s, peak 250
//     velocity.gif is no recording that can be written
#include <cmath>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <numbers>
#include <span>
#include <string>
#include <utility>

#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/Formats.h>
#include <KvxRecording01/SignalEdit.h>
#include <KvxRecording01/SignalFigures.h>
#include <KvxRecording01/SignalReader.h>
#include <KvxRecording01/SignalRuns.h>

namespace {

/// Writes all that a reader holds, in the format that the end of the name means.
bool Convert(kvx::SignalReader& reader, const std::string& path) {
    const auto format = kvx::FormatOfEnd(std::filesystem::path(path).extension().string());
    if (!format) return false;
    const auto writer = kvx::CreateSignalFile(path, *format, reader.Runs(), {.text = reader.Text()});
    kvx::ReadRuns(reader, [&](std::size_t run, std::span<double* const> columns, std::size_t count) {
        writer->Write(run, columns, count);
    });
    writer->Commit();
    return true;
}

std::unique_ptr<kvx::SignalReader> OpenInMillimetres(const char* path) {
    kvx::SignalEdit edit;
    edit.channels = {{.shownIn = kvx::NamedUnit("mm/s")}};
    return kvx::EditSignal(kvx::OpenSignal(path), edit);
}

}  // namespace

int main() try {
    std::ofstream table("velocity.csv");
    table << "time [s],velocity [m/s]\n";
    for (int i = 0; i < 512; ++i) {
        const double turns = 8.0 * i / 512;
        table << i / 1000.0 << ',' << 0.25 * std::sin(2 * std::numbers::pi * turns) << '\n';
    }
    table.close();

    for (const std::string path : {"velocity.uff", "velocity.mat", "velocity.gif"}) {
        if (!Convert(*OpenInMillimetres("velocity.csv"), path)) {
            std::printf("%s is no recording that can be written\n", path.c_str());
            continue;
        }
        const auto written = kvx::OpenSignal(path);
        const kvx::SignalRun& run = written->Runs().front();
        const kvx::SignalRun::Channel& channel = run.channels.front();
        const kvx::SampleFigures figures = kvx::MeasureSignal(*written).front().channels.front();
        std::printf("%s: %lld samples every %s s, %s in %s, peak %.6g\n", path.c_str(),
                    static_cast<long long>(run.samples), kvx::FormatNumber(run.delta, 10).c_str(),
                    kvx::ToUtf8(channel.name).c_str(), kvx::UnitText(channel.unit).c_str(), figures.max);
    }
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
