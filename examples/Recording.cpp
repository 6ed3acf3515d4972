// SPDX-License-Identifier: MIT
//
// Any recording, block by block: opens a data file, a text table or a sound file and prints its channels with
// their rms. example_recording [FILE [RATE]]; without a file it writes a table to read.
//
// It prints:
//
//     1024 samples at 1024 Hz
//       1  top           rms 2.12132 g
//       2  force         rms 176.777 N
//       3  base          rms 0.707107 g
#include <cmath>
#include <cstdio>
#include <exception>
#include <fstream>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/SignalReader.h>

namespace {

constexpr const char* kTable = "example-recording.csv";

/// A shaker's table for a second: two accelerations and a force.
void WriteTable() {
    std::ofstream table(kTable);
    table.precision(10);
    table << "time [s],top [g],force [N],base [g]\n";
    for (int i = 0; i < 1024; ++i) {
        const double wave = std::sin(2 * std::numbers::pi * 40 * i / 1024);
        table << i / 1024.0 << ',' << 3 * wave << ',' << 250 * wave << ',' << wave << '\n';
    }
}

void PrintChannels(kvx::SignalReader& reader, std::size_t run) {
    constexpr std::size_t kBlock = 4096;
    const kvx::SignalRun& signal = reader.Runs()[run];
    std::printf("%lld samples at %.10g Hz\n", static_cast<long long>(signal.samples), 1 / signal.delta);
    std::vector<std::vector<double>> block(signal.channels.size(), std::vector<double>(kBlock));
    std::vector<double*> targets;
    for (std::vector<double>& channel : block) targets.push_back(channel.data());
    std::vector<double> squares(signal.channels.size(), 0.0);
    while (const std::size_t count = reader.Read(run, targets, kBlock)) {
        for (std::size_t c = 0; c < squares.size(); ++c) {
            for (std::size_t i = 0; i < count; ++i) squares[c] += block[c][i] * block[c][i];
        }
    }
    for (std::size_t c = 0; c < squares.size(); ++c) {
        // The samples are in the standard unit of their dimension.
        const kvx::SignalRun::Channel& channel = signal.channels[c];
        const double rms = std::sqrt(squares[c] / static_cast<double>(signal.samples));
        std::printf("%3zu  %-12s  rms %.6g %s\n", channel.number, kvx::ToUtf8(channel.name).c_str(),
                    channel.unit.ConvDtoI(rms, 1.0, 0), kvx::UnitText(channel.unit).c_str());
    }
}

}  // namespace

int main(int count, char** arguments) try {
    kvx::RecordingStatements stated;
    if (count > 2) stated.rateHz = std::stod(arguments[2]);
    if (count < 2) WriteTable();
    const std::unique_ptr<kvx::SignalReader> reader =
        kvx::OpenSignal(count > 1 ? arguments[1] : kTable, {}, stated);
    for (const std::string& remark : reader->Remarks()) std::printf("note: %s\n", remark.c_str());
    for (std::size_t run = 0; run < reader->Runs().size(); ++run) PrintChannels(*reader, run);
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
