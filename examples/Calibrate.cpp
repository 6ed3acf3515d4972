// SPDX-License-Identifier: MIT
//
// Sensitivities from a calibrator: its tone of 1 g rms is recorded in volts, the fit of a sine tells what
// each sensor gives, and a measurement is then read in g. Neither a window nor the place of the tone between
// lines matters.
//
// It prints:
//
//     A: tone of 159.2 Hz, --sensitivity '0.0985 V/g'
//     B: tone of 159.2 Hz, --sensitivity '0.1012 V/g'
//     A: rms 2.001 g
//     B: rms 2.001 g
#include <cmath>
#include <cstdio>
#include <exception>
#include <fstream>
#include <numbers>

#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/Calibration.h>
#include <KvxRecording01/SignalFigures.h>
#include <KvxRecording01/SignalReader.h>

namespace {

/// Both sensors on one table that moves by so many g rms: A gives 98.5 mV/g, B 101.2 mV/g.
void WriteVolts(const char* path, double hertz, double g) {
    std::ofstream table(path);
    table << "time [s],A [V],B [V]\n";
    for (int i = 0; i < 8192; ++i) {
        const double wave = g * std::numbers::sqrt2 * std::sin(2 * std::numbers::pi * hertz * i / 4000);
        table << i / 4000.0 << ',' << 0.0985 * wave + 0.01 << ',' << 0.1012 * wave << '\n';
    }
}

}  // namespace

int main() try {
    WriteVolts("calibrator.csv", 159.155, 1.0);
    WriteVolts("test.csv", 60.0, 2.0);

    const auto tone = kvx::OpenSignal("calibrator.csv");
    kvx::RecordingStatements stated;
    for (const kvx::ChannelCalibration& calibration :
         kvx::CalibrationsOf(*tone, {.level = 1.0, .unit = kvx::NamedUnit("g")})) {
        const kvx::Sensitivity& sensitivity = calibration.sensitivity.value();
        std::printf("%s: tone of %.1f Hz, --sensitivity '%s'\n",
                    kvx::ToUtf8(calibration.channel.name).c_str(), calibration.tone.frequencyHz,
                    kvx::SensitivityText(sensitivity, 4).c_str());
        stated.sensitivities.push_back(sensitivity);
    }

    const auto test = kvx::OpenSignal("test.csv", {}, stated);
    const auto figures = kvx::MeasureSignal(*test).front().channels;
    for (std::size_t c = 0; c < figures.size(); ++c) {
        const kvx::SignalRun::Channel& channel = test->Runs().front().channels[c];
        const double mean = figures[c].mean;
        const double rms = std::sqrt(figures[c].rms * figures[c].rms - mean * mean);
        std::printf("%s: rms %.3f %s\n", kvx::ToUtf8(channel.name).c_str(), rms,
                    kvx::UnitText(channel.unit).c_str());
    }
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
