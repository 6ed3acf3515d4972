// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/dsp/LineFigures.h>

#include <cmath>
#include <iterator>

#include <KvxDevCommon01/dsp/MatBasic.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>

namespace kvx {
namespace {

double Shown(const CUnitCtrl& unit, double value) {
    return unit.ConvDtoI(value, 1.0, 0);
}

}  // namespace

SpectrumFigures FiguresOf(const LineSpectrum& spectrum, const CUnitCtrl& unit, const FigureChoice& choice) {
    const LineBand band = choice.band.Lines(spectrum.spacingHz, std::ssize(spectrum.real));
    const std::vector<double> levels = spectrum.Levels();
    const std::int64_t highest = HighestLine(levels, band);
    SpectrumFigures figures;
    figures.rms = Shown(unit, BandRms(spectrum, band));
    figures.highestHz = spectrum.FrequencyOf(highest);
    figures.highestLevel = Shown(spectrum.unit, levels[static_cast<std::size_t>(highest)]);
    figures.peaks = FindPeaks(spectrum, band, choice.peaks);
    for (SpectrumPeak& peak : figures.peaks) peak.level = Shown(spectrum.unit, peak.level);
    if (spectrum.kind == LineKind::kDensity && unit.IsAcc())
        figures.motion = MotionOf(spectrum, band, choice.cutoffHz);
    return figures;
}

TransferLine TransferLineAt(const LineSpectrum& transfer, const LineSpectrum& coherence, std::int64_t line) {
    const auto k = static_cast<std::size_t>(line);
    TransferLine shown = {transfer.FrequencyOf(line),
                          Shown(transfer.unit, transfer.real[k]),
                          Shown(transfer.unit, transfer.imaginary[k]),
                          0.0,
                          0.0,
                          coherence.real[k]};
    CMatBasic::FouToAmpFltN(&shown.real, &shown.imaginary, &shown.magnitude, &shown.phaseDegrees, 1, 1);
    return shown;
}

std::vector<std::int64_t> LinesNear(std::span<const double> frequencies, double spacingHz,
                                    std::int64_t count) {
    std::vector<std::int64_t> lines;
    for (const double hz : frequencies) {
        if (hz < 0.0) throw Error(ErrorKind::kBadValue, "there is no line below 0 Hz");
        const double line = std::round(hz / spacingHz);
        if (!(line < static_cast<double>(count))) {
            throw Error(ErrorKind::kBadValue,
                        "its last line is at " +
                            FormatNumber(static_cast<double>(count - 1) * spacingHz, 10) + " Hz, not at " +
                            FormatNumber(hz) + " Hz");
        }
        lines.push_back(static_cast<std::int64_t>(line));
    }
    return lines;
}

}  // namespace kvx
