// SPDX-License-Identifier: MIT
//
// kvx spectrum: averaged amplitude spectra, or the complex spectrum of one block.
#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <string>

#include <KvxDevCommon01/data/DataCplx.h>
#include <KvxDevCommon01/dsp/AveragedSpectrum.h>
#include <KvxDevCommon01/dsp/MatSpec.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "commands/Analysis.h"
#include "commands/Commands.h"

namespace kvx::tool {
namespace {

struct SpectrumOptions {
    AnalysisOptions analysis;
    bool isComplex = false;
    double startSeconds = 0.0;
};

__int64 CalculateAmplitudes(const Signal& signal, double* real, double*) {
    AveragedSpectrum average;
    CDataArrayDouble amplitudes;
    if (!average.Begin(signal.window, signal.overlap)) throw std::bad_alloc();
    average.Add(signal.samples);
    if (!average.GetAmplitude(&amplitudes)) throw std::bad_alloc();
    std::copy_n(amplitudes.GetData(), amplitudes.GetNum(), real);
    return average.GetNumBlocks();
}

__int64 CalculateComplex(const Signal& signal, double startSeconds, double* real, double* imaginary) {
    const double start = std::round(startSeconds * signal.rateHz);
    const __int64 last = signal.samples.GetNum() - signal.window.GetNum();
    if (!(start <= static_cast<double>(last))) {
        throw Error(ErrorKind::kBadValue,
                    "no full block is left from " + FormatNumber(startSeconds) + " s on");
    }
    CDataArrayDoubleCplx spectrum;
    if (!CalcBlockSpectrum(&spectrum, signal.samples, static_cast<__int64>(start), signal.window)) {
        throw std::bad_alloc();
    }
    std::copy_n(spectrum.GetReal(), spectrum.GetNum(), real);
    std::copy_n(spectrum.GetImaginary(), spectrum.GetNum(), imaginary);
    return 1;
}

/// A window spreads each component over several lines; their powers add up to its own times the noise
/// bandwidth.
double AmplitudeRms(double* levels, __int64 count, __int64 dc, double, double bandwidth) {
    return CMatSpec::CalcAmpRms(levels, count, 0, 0, dc) / std::sqrt(bandwidth);
}

void RunSpectrum(const SpectrumOptions& options, ByteStream& out) {
    LineMethod method = {options.isComplex, false, [](const CUnitCtrl& unit) { return std::optional(unit); },
                         CalculateAmplitudes, AmplitudeRms};
    if (options.isComplex) {
        method.calculate = [&](const Signal& signal, double* real, double* imaginary) {
            return CalculateComplex(signal, options.startSeconds, real, imaginary);
        };
    } else if (options.startSeconds > 0.0) {
        throw UsageError("--start chooses the block of --complex; without that all blocks are averaged");
    }
    RunAnalysis(options.analysis, method, out);
}

}  // namespace

void AddSpectrum(Command app) {
    const auto options = std::make_shared<SpectrumOptions>();
    Command command = app.AddCommand("spectrum", "Amplitude spectrum of time waveforms");
    AddAnalysisOptions(command, &options->analysis);
    command.AddFlag("--complex", options->isComplex,
                    "Complex spectrum of one block instead of averaged amplitudes");
    command
        .AddOption("--start", options->startSeconds, "Begin of that block, in seconds from the first sample")
        .Type("S")
        .Check(NonNegativeNumber());
    command.SetFooter(
        "Peak amplitudes in the channel's unit: a sine of amplitude A that stands on a line reads A with "
        "every\n"
        "window. The rms is that of the signal in the band, freed of the window's spreading.\n\n"
        "Example:\n"
        "  awk 'BEGIN { for (i = 0; i < 4096; ++i) print sin(6.283185307179586 * i / 64) }' > sine.txt\n"
        "  kvx import sine.txt -o sine.vdf2 --rate 2048 --unit g --name sine\n"
        "  kvx spectrum sine.vdf2 --block 1024 --window flat-top\n"
        "  kvx spectrum sine.vdf2 -o block.vdf2 --block 1024 --complex --start 0.5");
    command.OnRun([=](ByteStream& out) { RunSpectrum(*options, out); });
}

}  // namespace kvx::tool
