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
#include <utility>

namespace kvx {
namespace {

/// Lines of transforms of so many points, of that kind and unit, still without numbers.
template <class Average>
LineSpectrum LinesOf(const Average& average, std::int64_t points, LineKind kind, double rateHz,
                     const CUnitCtrl& unit) {
    LineSpectrum spectrum;
    spectrum.kind = kind;
    spectrum.unit = unit;
    spectrum.spacingHz = rateHz / static_cast<double>(points);
    spectrum.blocks = average.Blocks();
    spectrum.noiseBandwidth = average.NoiseBandwidth();
    return spectrum;
}

/// The lines of an average as that kind has them.
std::vector<double> ValuesOf(LineKind kind, const AveragedSpectrum& average, double rateHz) {
    switch (kind) {
        case LineKind::kDensity:
            return average.Psd(rateHz);
        case LineKind::kAmplitude:
            return average.Amplitude();
        case LineKind::kPower:
            return average.Power();
        case LineKind::kRms: {
            std::vector<double> lines = average.Power();
            for (double& line : lines) line = std::sqrt(line);
            return lines;
        }
        case LineKind::kPeakToPeak: {
            std::vector<double> lines = average.Amplitude();
            for (double& line : lines) line *= 2.0;
            return lines;
        }
        default:
            throw Error(ErrorKind::kBadValue, "an average of powers has no lines of this kind");
    }
}

/// The mean square of the signal of which a line of amplitudes tells. Those at 0 Hz and half the rate have no
/// twin.
double MeanSquare(LineKind kind, double level, bool isSingle) {
    if (kind == LineKind::kPower) return level;
    if (kind == LineKind::kRms) return level * level;
    const double amplitude = kind == LineKind::kPeakToPeak ? 0.5 * level : level;
    return amplitude * amplitude * (isSingle ? 1.0 : 0.5);
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
    if (!IsPower(kind)) return unit;
    const bool isDensity = kind == LineKind::kDensity;
    if (const std::optional<CUnitCtrl> power = isDensity ? DensityUnit(unit) : SquareUnit(unit))
        return *power;
    throw Error(ErrorKind::kUnsupported, "the unit " + Quote(UnitText(unit)) +
                                             " is a compound, which has no " +
                                             (isDensity ? "density" : "square"));
}

LineSpectrum Densities(const AveragedSpectrum& average, double rateHz, const CUnitCtrl& unit) {
    return AveragedLines(LineKind::kDensity, average, rateHz, unit);
}

LineSpectrum Amplitudes(const AveragedSpectrum& average, double rateHz, const CUnitCtrl& unit) {
    return AveragedLines(LineKind::kAmplitude, average, rateHz, unit);
}

LineSpectrum AveragedLines(LineKind kind, const AveragedSpectrum& average, double rateHz,
                           const CUnitCtrl& unit) {
    std::vector<double> values = ValuesOf(kind, average, rateHz);
    const std::int64_t points = average.TransformSize();
    LineSpectrum spectrum = LinesOf(average, points, kind, rateHz, LineUnit(kind, unit));
    spectrum.hasMiddleLine = std::ssize(values) > points / 2;
    spectrum.degreesOfFreedom = average.DegreesOfFreedom();
    spectrum.real = std::move(values);
    return spectrum;
}

LineSpectrum BlockLines(std::span<const double> block, std::span<const double> window, double rateHz,
                        const CUnitCtrl& unit, const Averaging& averaging) {
    const auto size = static_cast<double>(window.size());
    const double points = averaging.transformSize > 0 ? static_cast<double>(averaging.transformSize) : size;
    LineSpectrum spectrum;
    spectrum.kind = LineKind::kComplex;
    spectrum.unit = unit;
    spectrum.spacingHz = rateHz / points;
    spectrum.blocks = 1;
    spectrum.noiseBandwidth = NoiseBandwidth(window) * (points / size);
    spectrum.hasMiddleLine = averaging.hasMiddleLine;
    SetLines(BlockSpectrum(block, window, averaging), spectrum);
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
    LineSpectrum spectrum = LinesOf(average, average.BlockSize(), LineKind::kTransfer, rateHz,
                                    TransferUnitOf(response, reference));
    SetLines(average.Transfer(), spectrum);
    return spectrum;
}

LineSpectrum CoherenceLines(const AveragedTransfer& average, double rateHz) {
    LineSpectrum spectrum = LinesOf(average, average.BlockSize(), LineKind::kCoherence, rateHz, CUnitCtrl());
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
    double power = 0.0;
    for (std::int64_t k = 0; k < count; ++k) {
        const bool isLast = spectrum.hasMiddleLine && band.first + k + 1 == std::ssize(levels);
        power += MeanSquare(spectrum.kind, lines[k], band.first + k == 0 || isLast);
    }
    return std::sqrt(power) / std::sqrt(spectrum.noiseBandwidth);
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
    if (IsPower(spectrum.kind)) CMatBasic::SqrtArr(amplitudes.data(), lines);

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
        if (q != kNoValue<double>)
            peaks.back().q = QWithoutDecay(q, peaks.back().hz, spectrum.decayPerSecond);
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
    constexpr std::int64_t kLowest = 3;
    SpectrumMotion lowest = {};
    const CDataArrayDouble first3(std::min(kLowest, lines.GetNum()), lines.GetData());
    if (motion.displacement > 0.0 && lines.GetNum() > kLowest &&
        CMatBasic::AccPsdSpToRmsAVD(first3, motion.fromHz, densities.spacingHz, &lowest.acceleration,
                                    &lowest.velocity, &lowest.displacement)) {
        const double ratio = lowest.displacement / motion.displacement;
        motion.lowestPart = ratio * ratio;
    }
    return motion;
}

}  // namespace kvx
