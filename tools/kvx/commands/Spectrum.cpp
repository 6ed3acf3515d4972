// SPDX-License-Identifier: MIT
//
// kvx spectrum: averaged amplitude spectra, or the complex spectrum of one block.
#include <memory>

#include "commands/Analysis.h"
#include "commands/Commands.h"

namespace kvx::tool {

void AddSpectrum(Command app) {
    const auto options = std::make_shared<SpectraOptions>();
    const auto batch = std::make_shared<BatchOptions>();
    const auto isComplex = std::make_shared<bool>(false);
    Command command = app.AddCommand("spectrum", "Amplitude spectrum of time waveforms");
    AddSpectraOptions(command, options.get(), batch.get());
    command.AddFlag("--complex", *isComplex,
                    "Complex spectrum of the first block, or of that from --start on, instead of "
                    "averaged amplitudes");
    command.SetFooter(R"(
Peak amplitudes in the channel's unit: a sine of amplitude A that stands on a line reads A with
every window. The rms is that of the signal in the band, freed of the window's spreading.
)",
                      R"(
awk 'BEGIN { for (i = 0; i < 4096; ++i) print sin(6.283185307179586 * i / 64) }' > sine.txt
kvx import sine.txt -o sine.vdf2 --rate 2048 --unit g --name sine
kvx spectrum sine.vdf2 --block 1024 --window flat-top
kvx spectrum sine.vdf2 -o block.vdf2 --block 1024 --complex --start 0.5
)");
    command.OnRun([=](ByteStream& out) {
        if (*isComplex) options->kind = LineKind::kComplex;
        RunSpectra(*options, *batch, out);
    });
}

}  // namespace kvx::tool
