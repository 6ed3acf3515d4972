// SPDX-License-Identifier: MIT
//
// kvx psd: averaged power spectral densities.
#include <memory>

#include "cli/Options.h"
#include "commands/Analysis.h"
#include "commands/Commands.h"

namespace kvx::tool {

void AddPsd(Command app) {
    const auto options = std::make_shared<SpectraOptions>();
    const auto batch = std::make_shared<BatchOptions>();
    Command command = app.AddCommand("psd", "Averaged power spectral density of time waveforms");
    AddSpectraOptions(command, options.get(), batch.get());
    command
        .AddOption("--cutoff", options->cutoffHz,
                   "Lowest frequency of the motion (default: that of the first line above 0 Hz)")
        .Type("HZ")
        .Check(NonNegativeNumber());
    command.SetFooter(R"(
One-sided density in the square of the channel's unit per hertz, averaged over all full blocks; mean
or trend stay unless --detrend takes them out. The rms is that of the lines in the band.

Accelerations also get the rms of acceleration, velocity (mm/s) and displacement (mm) of the lines
in the band from --cutoff on. What an offset and drift leave in the lowest lines grows with 1/f^2
and 1/f^4 there: cut off at a few line spacings or more. Q of a peak is its frequency over the width
at half its density, "-" when the lines do not fall that far on both sides; the window widens narrow
peaks to about two lines.
)",
                      R"(
printf 'unit g2/Hz\n20 0.01\n80 0.04\n350 0.04\n2000 0.007\n' > profile.txt
kvx synth profile.txt -o random.vdf2 --rate 8192 --duration 20
kvx psd random.vdf2 -o random-psd.vdf2 --block 2048 --from 20 --to 2000 --peaks 3
)");
    options->kind = LineKind::kDensity;
    command.OnRun([=](ByteStream& out) { RunSpectra(*options, *batch, out); });
}

}  // namespace kvx::tool
