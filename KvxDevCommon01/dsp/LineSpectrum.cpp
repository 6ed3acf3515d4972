// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/dsp/LineSpectrum.h>
#include <KvxDevCommon01/dsp/MatBasic.h>
#include <KvxDevCommon01/dsp/MatSpec.h>
#include <KvxDevCommon01/dsp/Windows.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <iterator>
#include <new>
#include <string>

namespace kvx {
namespace {

/// Lines of that kind and unit, still without numbers.
template <class Average>
LineSpectrum LinesOf(const Average& average, LineKind kind, double rateHz, const CUnitCtrl& unit) {
    LineSpectrum spectrum;
    spectrum.kind = kind;
    spectrum.unit = unit;
    spectrum.spacingHz = rateHz / static_cast<double>(average.BlockSize());
    spectrum.blocks = average.Blocks();
    spectrum.noiseBandwidth = average.NoiseBandwidth();
    return spectrum;
}

LineSpectrum Averaged(LineKind kind, const AveragedSpectrum& average, double rateHz, const CUnitCtrl& unit) {
    LineSpectrum spectrum = LinesOf(average, kind, rateHz, LineUnit(kind, unit));
    spectrum.real = kind == LineKind::kDensity ? average.Psd(rateHz) : average.Amplitude();
    return spectrum;
}

/// Throws Error unless all lines of the band are among `lines` lines.
void RequireBand(const LineBand& band, std::int64_t lines) {
    if (0 <= band.first && band.first <= band.last && band.last < lines) return;
    throw Error(ErrorKind::kBadValue, "lines " + std::to_string(band.first) + " to " +
                                          std::to_string(band.last) + " are no band of " +
                                          Count(lines, "line"));
}

void SetLines(const std::vector<std::complex<double>>& lines, LineSpectrum& spectrum) {
    for (const std::complex<double>& line : lines) {
        spectrum.real.push_back(line.real());
        spectrum.imaginary.push_back(line.imag());
    }
}

}  // namespace

std::vector<double> LineSpectrum::Levels() const {
    std::vector<double> levels = real;
    for (std::size_t k = 0; k < imaginary.size(); ++k) levels[k] = std::hypot(real[k], imaginary[k]);
    return levels;
}

CUnitCtrl LineUnit(LineKind kind, const CUnitCtrl& unit) {
    if (kind != LineKind::kDensity) return unit;
    if (const std::optional<CUnitCtrl> density = DensityUnit(unit)) return *density;
    throw Error(ErrorKind::kUnsupported,
                "the unit " + Quote(UnitText(unit)) + " is a compound, which has no density");
}

LineSpectrum Densities(const AveragedSpectrum& average, double rateHz, const CUnitCtrl& unit) {
    return Averaged(LineKind::kDensity, average, rateHz, unit);
}

LineSpectrum Amplitudes(const AveragedSpectrum& average, double rateHz, const CUnitCtrl& unit) {
    return Averaged(LineKind::kAmplitude, average, rateHz, unit);
}

LineSpectrum BlockLines(std::span<const double> block, std::span<const double> window, double rateHz,
                        const CUnitCtrl& unit) {
    LineSpectrum spectrum;
    spectrum.kind = LineKind::kComplex;
    spectrum.unit = unit;
    spectrum.spacingHz = rateHz / static_cast<double>(window.size());
    spectrum.blocks = 1;
    spectrum.noiseBandwidth = NoiseBandwidth(window);
    SetLines(BlockSpectrum(block, window), spectrum);
    return spectrum;
}

CUnitCtrl TransferUnitOf(const CUnitCtrl& response, const CUnitCtrl& reference) {
    if (const std::optional<CUnitCtrl> unit = TransferUnit(response, reference)) return *unit;
    throw Error(ErrorKind::kUnsupported, "the unit " +
                                             Quote(UnitText(response.IsSingle() ? reference : response)) +
                                             " is a compound, which makes no transfer function");
}

LineSpectrum TransferLines(const AveragedTransfer& average, double rateHz, const CUnitCtrl& response,
                           const CUnitCtrl& reference) {
    LineSpectrum spectrum =
        LinesOf(average, LineKind::kTransfer, rateHz, TransferUnitOf(response, reference));
    SetLines(average.Transfer(), spectrum);
    return spectrum;
}

LineSpectrum CoherenceLines(const AveragedTransfer& average, double rateHz) {
    LineSpectrum spectrum = LinesOf(average, LineKind::kCoherence, rateHz, CUnitCtrl());
    spectrum.real = average.Coherence();
    return spectrum;
}

void RequireNumbers(std::span<const double> lines, std::wstring_view channel) {
    if (std::ranges::all_of(lines, [](double line) { return std::isfinite(line); })) return;
    throw Error(ErrorKind::kBadValue,
                "the squares of channel " + Quote(channel) + " leave the range of numbers");
}

LineBand LinesInBand(double fromHz, std::optional<double> toHz, double spacingHz, std::int64_t lines) {
    // Limits typed with the digits of a line's frequency include that line.
    constexpr double kSlack = 1e-6;
    if (!(spacingHz > 0.0) || !std::isfinite(spacingHz))
        throw Error(ErrorKind::kBadValue, "the spacing of lines is a number above 0");
    const double top = static_cast<double>(lines - 1);
    const double from = std::max(std::ceil(fromHz / spacingHz - kSlack), 0.0);
    const double to = toHz ? std::min(std::floor(*toHz / spacingHz + kSlack), top) : top;
    if (!(from <= to)) {
        throw Error(ErrorKind::kBadValue, "no line of it, " + FormatNumber(spacingHz) + " Hz apart up to " +
                                              FormatNumber(top * spacingHz) + " Hz, lies in the band");
    }
    return {static_cast<std::int64_t>(from), static_cast<std::int64_t>(to)};
}

std::int64_t HighestLine(std::span<const double> levels, const LineBand& band) {
    RequireBand(band, std::ssize(levels));
    const std::int64_t first = band.first == 0 && band.last > 0 ? 1 : band.first;
    return std::max_element(levels.begin() + first, levels.begin() + band.last + 1) - levels.begin();
}

double BandRms(const LineSpectrum& spectrum, const LineBand& band) {
    const std::vector<double> levels = spectrum.Levels();
    RequireBand(band, std::ssize(levels));
    const double* const lines = levels.data() + band.first;
    const std::int64_t count = band.last - band.first + 1;
    if (spectrum.kind == LineKind::kDensity)
        return CMatSpec::CalcPsdRms(lines, count, spectrum.spacingHz, 0, 0);
    return CMatSpec::CalcAmpRms(lines, count, 0, 0, -band.first) / std::sqrt(spectrum.noiseBandwidth);
}

std::vector<SpectrumPeak> FindPeaks(const LineSpectrum& spectrum, const LineBand& band, std::size_t count) {
    const std::vector<double> levels = spectrum.Levels();
    const auto lines = std::ssize(levels);
    RequireBand(band, lines);
    std::vector<double> frequencies(levels.size());
    for (std::int64_t k = 0; k < lines; ++k)
        frequencies[static_cast<std::size_t>(k)] = spectrum.FrequencyOf(k);
    // A half-power point is sought at an amplitude over the square root of 2.
    std::vector<double> amplitudes = levels;
    if (spectrum.kind == LineKind::kDensity) CMatBasic::SqrtArr(amplitudes.data(), lines);

    // With a neighbour on each side every line of the band can be a peak.
    const std::int64_t first = std::max<std::int64_t>(band.first - 1, 0);
    const std::int64_t end = std::min<std::int64_t>(band.last + 2, lines);
    std::vector<__int64> positions(std::min(count, levels.size()));
    positions.resize(static_cast<std::size_t>(CMatBasic::GetTopValueArray(
        end - first, levels.data() + first, std::ssize(positions), positions.data(), nullptr)));
    std::vector<SpectrumPeak> peaks;
    for (const __int64 position : positions) {
        const std::int64_t line = first + position;
        const auto at = static_cast<std::size_t>(line);
        const double q = CMatBasic::GetSpecQValue(lines, amplitudes.data(), frequencies.data(), line, 0);
        peaks.push_back({frequencies[at], levels[at], std::nullopt});
        if (q != kNoValue<double>) peaks.back().q = q;
    }
    return peaks;
}

std::optional<SpectrumMotion> MotionOf(const LineSpectrum& densities, const LineBand& band, double cutoffHz) {
    if (densities.kind != LineKind::kDensity)
        throw Error(ErrorKind::kBadValue, "only densities of an acceleration tell of its motion");
    RequireBand(band, std::ssize(densities.real));
    const std::int64_t kept =
        LinesInBand(cutoffHz, std::nullopt, densities.spacingHz, std::ssize(densities.real)).first;
    const std::int64_t first = std::max({band.first, std::int64_t{1}, kept});
    if (first > band.last) {
        if (!(cutoffHz > 0.0)) return std::nullopt;
        throw Error(ErrorKind::kBadValue, "no line of the band, which ends at " +
                                              FormatNumber(densities.FrequencyOf(band.last), 7) +
                                              " Hz, is left for the motion from the cut-off on");
    }
    SpectrumMotion motion = {densities.FrequencyOf(first), 0.0, 0.0, 0.0};
    const CDataArrayDouble lines(band.last - first + 1, densities.real.data() + first);
    if (!CMatBasic::AccPsdSpToRmsAVD(lines, motion.fromHz, densities.spacingHz, &motion.acceleration,
                                     &motion.velocity, &motion.displacement)) {
        throw std::bad_alloc();
    }
    return motion;
}

}  // namespace kvx
