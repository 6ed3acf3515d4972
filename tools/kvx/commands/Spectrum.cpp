// SPDX-License-Identifier: MIT
//
// kvx spectrum: averaged amplitude spectra, or the complex spectrum of one block.
#include <array>
#include <memory>
#include <string>
#include <string_view>

#include "cli/Failure.h"
#include "cli/Options.h"
#include "commands/Analysis.h"
#include "commands/Commands.h"

namespace kvx::tool {
namespace {

struct Scale {
    std::string_view name;
    LineKind kind;
};
constexpr std::array kScales = {
    Scale{"peak", LineKind::kAmplitude},
    Scale{"rms", LineKind::kRms},
    Scale{"peak-to-peak", LineKind::kPeakToPeak},
    Scale{"power", LineKind::kPower},
};

}  // namespace

void AddSpectrum(Command app) {
    const auto options = std::make_shared<SpectraOptions>();
    const auto batch = std::make_shared<BatchOptions>();
    const auto isComplex = std::make_shared<bool>(false);
    Command command = app.AddCommand("spectrum", "Amplitude spectrum of time waveforms");
    AddSpectraOptions(command, options.get(), batch.get());
    command.AddFlag("--complex", *isComplex,
                    "Complex spectrum of the first block, or of that from --start on, instead of "
                    "averaged amplitudes");
    const auto scale = std::make_shared<std::string>("peak");
    command
        .AddOption("--scale", *scale,
                   "What a sine on a line reads: its peak, rms, peak-to-peak or mean square")
        .OneOf(NameList(kScales))
        .ShowDefault();
    command.SetFooter(R"(
Peak amplitudes in the channel's unit: a sine of amplitude A that stands on a line reads A with
every window; with --scale A/sqrt 2, 2 A, or A^2/2 in the square of the unit. The rms is that of the signal in the band, freed of the window's spreading.
)",
                      R"(
awk 'BEGIN { for (i = 0; i < 4096; ++i) print sin(6.283185307179586 * i / 64) }' > sine.txt
kvx import sine.txt -o sine.vdf2 --rate 2048 --unit g --name sine
kvx spectrum sine.vdf2 --block 1024 --window flat-top
kvx spectrum sine.vdf2 -o block.vdf2 --block 1024 --complex --start 0.5
)");
    command.OnRun([=](ByteStream& out) {
        options->kind = Choose(kScales, "--scale", *scale).kind;
        if (*isComplex) {
            if (*scale != "peak") throw ValueError("--scale: complex lines are peak amplitudes");
            options->kind = LineKind::kComplex;
        }
        RunSpectra(*options, *batch, out);
    });
}

}  // namespace kvx::tool
