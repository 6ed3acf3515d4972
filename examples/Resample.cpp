// SPDX-License-Identifier: MIT
//
// A recording at another rate, from file to file: its blocks pass through a change of the rate, a process for
// each channel side by side on the cores, into a new file. Memory does not grow with the length, and every
// event keeps its time.
//
// It prints:
//
//     40000 samples at 4000 Hz become 5000 at 500 Hz, band up to 195.3125 Hz
//     slow.wav: 2 channels, 10 s, peak of left at 0.5 V: yes
#include <cmath>
#include <cstdio>
#include <exception>
#include <fstream>
#include <memory>
#include <numbers>
#include <span>
#include <vector>

#include <KvxDevCommon01/Kvx.h>
#include <KvxRecording01/Formats.h>
#include <KvxRecording01/SignalFigures.h>
#include <KvxRecording01/SignalReader.h>
#include <KvxRecording01/SignalRuns.h>

namespace {

/// Ten seconds of 30 Hz, with a disturbance at 900 Hz on the right channel.
void WriteTable(const char* path) {
    std::ofstream table(path);
    table << "time [s],left [V],right [V]\n";
    for (int i = 0; i < 40000; ++i) {
        const double turns = 2 * std::numbers::pi * i / 4000;
        table << i / 4000.0 << ',' << 0.5 * std::sin(30 * turns) << ','
              << 0.5 * std::sin(30 * turns) + 0.2 * std::sin(900 * turns) << '\n';
    }
}

}  // namespace

int main() try {
    WriteTable("fast.csv");
    const auto reader = kvx::OpenSignal("fast.csv");
    kvx::SignalRun run = reader->Runs().front();

    const kvx::RateChange change = kvx::FindRateChange(kvx::RateOf(run), 500.0).value();
    const kvx::ResamplingPlan plan = kvx::PlanResampling({run.delta, run.offset, run.samples}, change, false);
    std::vector<std::unique_ptr<kvx::SampleProcess>> processes;
    for (std::size_t c = 0; c < run.channels.size(); ++c)
        processes.push_back(kvx::MakeResampler(plan, kvx::Ends::held));
    std::printf("%lld samples at %g Hz become %lld at %g Hz, band up to %s Hz\n",
                static_cast<long long>(plan.before.samples), 1 / plan.before.delta,
                static_cast<long long>(plan.after.samples), 1 / plan.after.delta,
                kvx::FormatNumber(plan.bandHz, 8).c_str());

    run.delta = plan.after.delta;
    run.offset = plan.after.offset;
    run.samples = plan.after.samples;
    const auto writer = kvx::CreateSignalFile("slow.wav", kvx::Format::wav, {run});
    kvx::RunProcesses(
        processes, 8192,
        [&](std::span<double* const> channels, std::size_t room) { return reader->Read(0, channels, room); },
        [&](std::span<double* const> channels, std::size_t count) { writer->Write(0, channels, count); });
    writer->Commit();

    const auto slow = kvx::OpenSignal("slow.wav");
    const auto figures = kvx::MeasureSignal(*slow);
    const double peak = figures.front().channels.front().max;
    std::printf("slow.wav: %zu channels, %g s, peak of left at 0.5 V: %s\n",
                slow->Runs().front().channels.size(),
                static_cast<double>(slow->Runs().front().samples) * slow->Runs().front().delta,
                std::abs(peak - 0.5) < 0.005 ? "yes" : "no");
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
