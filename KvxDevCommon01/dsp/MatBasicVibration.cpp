// SPDX-License-Identifier: MIT
//
// Quantities of vibration: rms values from densities, the conversion between acceleration, velocity,
// displacement and frequency, averaged densities of waves.

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/DataMatrix.h>
#include <KvxDevCommon01/data/Samples.h>
#include <KvxDevCommon01/dsp/AveragedSpectrum.h>
#include <KvxDevCommon01/dsp/Blocks.h>
#include <KvxDevCommon01/dsp/MatBasic.h>
#include <KvxDevCommon01/dsp/detail/AnalysisWindow.h>
#include <KvxDevCommon01/dsp/detail/RootOfPower.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <exception>
#include <numbers>
#include <optional>

namespace {

using kvx::kNoValue;
using kvx::RootOfPower;
using std::numbers::pi;

// Below this angular frequency [rad/s] a line stands at 0 Hz and has no velocity.
constexpr double kSmallestOmega = 1e-20;

/// Amplitude that a Hann-windowed line leaks to a frequency away from it: entry j at (j + 1/2)/10 of a line.
constexpr std::array<double, 20> kHannLeakage = {
    0.988, 0.971, 0.941, 0.900, 0.841, 0.771, 0.706, 0.629, 0.553, 0.488,
    0.418, 0.341, 0.271, 0.212, 0.165, 0.106, 0.076, 0.047, 0.024, 0.012,
};

double Square(double x) {
    return x * x;
}

/// Gain of a Butterworth high-pass of any order; 1 without an order.
double HighPassGain(double f, double fc, double order) {
    if (order <= 0.0 || f == 0.0) return 1.0;
    return 1.0 / std::sqrt(1.0 + std::pow(fc / f, 2.0 * order));
}

/// A harmonic motion: peak velocity and angular frequency. Velocity is the middle of the three amplitudes:
/// acceleration is V omega, displacement V/omega.
struct Motion {
    double velocity;
    double omega;
};

using DIM_CODE = CUnitCtrl::DIM_CODE;

/// The motion of which x and y are two amplitudes, or an amplitude and the frequency [Hz]; none for other
/// dimensions. Displacements are peak values.
std::optional<Motion> MotionOf(double x, DIM_CODE dimX, double y, DIM_CODE dimY) {
    // Each pair is told once, the dimension with the lower code first.
    if (dimX > dimY) {
        std::swap(x, y);
        std::swap(dimX, dimY);
    }
    const double omega = 2.0 * pi * y;
    const bool hasFrequency = dimY == CUnitCtrl::DIM_FREQUENCY;
    switch (dimX) {
        case CUnitCtrl::DIM_ACCELERATION:
            if (hasFrequency) return Motion{x / omega, omega};
            if (dimY == CUnitCtrl::DIM_VELOCITY) return Motion{y, x / y};
            if (dimY == CUnitCtrl::DIM_DISPLACEMENT) return Motion{std::sqrt(x * y), std::sqrt(x / y)};
            return std::nullopt;
        case CUnitCtrl::DIM_VELOCITY:
            if (hasFrequency) return Motion{x, omega};
            if (dimY == CUnitCtrl::DIM_DISPLACEMENT) return Motion{x, x / y};
            return std::nullopt;
        case CUnitCtrl::DIM_DISPLACEMENT:
            if (hasFrequency) return Motion{x * omega, omega};
            return std::nullopt;
        default:
            return std::nullopt;
    }
}

/// How many quarter turns a quantity lags acceleration; none for others.
std::optional<int> QuarterTurnsBehindAcceleration(DIM_CODE dim) {
    switch (dim) {
        case CUnitCtrl::DIM_ACCELERATION:
            return 0;
        case CUnitCtrl::DIM_VELOCITY:
            return 1;
        case CUnitCtrl::DIM_DISPLACEMENT:
            return 2;
        default:
            return std::nullopt;
    }
}

}  // namespace

double CMatBasic::GetPsdRms(const CDataArrayDouble& psd, double df) {
    double sum = 0.0;
    for (__int64 k = 0; k < psd.GetNum(); ++k) {
        const double density = psd.GetData()[k];
        if (density != kNoValue<double>) sum += density;
    }
    return RootOfPower(df * sum);
}

int CMatBasic::AccPsdSpToRmsAVD(const CDataArrayDouble& psd, double f0, double df, double* accRms,
                                double* velRms, double* dispRms) {
    if (psd.GetNum() < 1 || accRms == nullptr || velRms == nullptr || dispRms == nullptr) return 0;
    double acc = 0.0;
    double vel = 0.0;
    double disp = 0.0;
    for (__int64 k = 0; k < psd.GetNum(); ++k) {
        const double omega = 2.0 * pi * (f0 + static_cast<double>(k) * df);
        const double density = psd.GetData()[k];
        if (!(omega >= kSmallestOmega) || density == kNoValue<double>) continue;
        const double power = df * density;
        acc += power;
        vel += power / Square(omega);
        disp += power / Square(Square(omega));
    }
    *accRms = RootOfPower(acc);
    *velRms = RootOfPower(vel);
    *dispRms = RootOfPower(disp);
    return 1;
}

int CMatBasic::AddHanLeakToRmsVD(const CDataArrayDouble& psd, double f0, double df, double hpfFc,
                                 double hpfOrder, double weightPower, double* velRms, double* dispRms) {
    constexpr double kHighestFirstLine = 100.0;
    constexpr double kRounding = 1e-6;  // of a line, by which axes of single precision miss 0 Hz
    constexpr std::size_t kHalf = kHannLeakage.size() / 2;
    const __int64 n = psd.GetNum();
    if (n < 1 || velRms == nullptr || dispRms == nullptr) return 0;
    const double* const lines = psd.GetData();
    const __int64 firstLine = std::find_if(lines, lines + n, [](double p) { return p > 0.0; }) - lines;
    const double f1 = f0 + static_cast<double>(firstLine) * df;
    if (firstLine == n || firstLine > n / 2 || f1 > kHighestFirstLine) return 1;

    const double e0 = 0.1 * df * lines[firstLine];
    const double next = firstLine + 1 < n ? lines[firstLine + 1] : 0.0;
    const double e1 = next == kNoValue<double> ? 0.0 : 0.1 * df * next;
    const bool isNearDc = f1 <= 1.5 * df;
    double vel = Square(*velRms);
    double disp = Square(*dispRms);
    for (std::size_t j = 0; j < (isNearDc ? kHalf : kHannLeakage.size()); ++j) {
        // Below 0 Hz stands the mirror image, whose frequency counts by its size.
        const double f = std::fabs(f1 + 0.05 * df - 0.1 * df * static_cast<double>(j + 1));
        const double omegaSquare = Square(2.0 * pi * f);
        if (!(f > kRounding * df)) continue;
        double power = Square(kHannLeakage[j]) * e0;
        if (j < kHalf) power += Square(kHannLeakage[j + kHalf]) * e1;
        if (isNearDc) power += Square(kHannLeakage[j + kHalf]) * kHannLeakage[11 - j] * e0;
        const double weight =
            weightPower <= 0.0 || f1 == 0.0 ? 1.0 : std::pow(f / std::fabs(f1), weightPower);
        power *= Square(HighPassGain(f, hpfFc, hpfOrder) * weight);
        vel += power / omegaSquare;
        disp += power / Square(omegaSquare);
    }
    *velRms = RootOfPower(vel);
    *dispRms = RootOfPower(disp);
    return 1;
}

double CMatBasic::ConvAmpFAVD(double x, DIM_CODE dimX, double y, DIM_CODE dimY, DIM_CODE wanted,
                              int peakToPeak) {
    if (dimX == wanted) return x;
    if (dimY == wanted) return y;
    const double peaks = peakToPeak ? 2.0 : 1.0;
    if (dimX == CUnitCtrl::DIM_DISPLACEMENT) x /= peaks;
    if (dimY == CUnitCtrl::DIM_DISPLACEMENT) y /= peaks;
    if (!(x > 0.0 && y > 0.0)) return 0.0;
    const std::optional<Motion> motion = MotionOf(x, dimX, y, dimY);
    if (!motion || !(motion->velocity > 0.0 && motion->omega > 0.0)) return 0.0;
    switch (wanted) {
        case CUnitCtrl::DIM_ACCELERATION:
            return motion->velocity * motion->omega;
        case CUnitCtrl::DIM_VELOCITY:
            return motion->velocity;
        case CUnitCtrl::DIM_DISPLACEMENT:
            return motion->velocity / motion->omega * peaks;
        case CUnitCtrl::DIM_FREQUENCY:
            return motion->omega / (2.0 * pi);
        default:
            return 0.0;
    }
}

double CMatBasic::ConvPhaseFAVD(double phase, DIM_CODE from, DIM_CODE to) {
    const std::optional<int> lagFrom = QuarterTurnsBehindAcceleration(from);
    const std::optional<int> lagTo = QuarterTurnsBehindAcceleration(to);
    if (!lagFrom || !lagTo || *lagFrom == *lagTo) return phase;
    return phase - (*lagTo - *lagFrom) * (pi / 2.0);
}

int CMatBasic::CalcWavePSD(const CDataArrayMtxDouble& waves, double fs, __int64 blockSize, __int64 window,
                           __int64 overlap, CDataArrayMtxDouble* psd) {
    const kvx::BlockCut cut{blockSize, overlap};
    CDataArrayDouble windowSamples;
    if (psd == nullptr || psd == &waves || !(fs > 0.0) || cut.Count(waves.GetNum()) == 0 ||
        !kvx::MakeAnalysisWindow(window, blockSize, &windowSamples)) {
        return 0;
    }
    if (!psd->Create(waves.GetNumRow(), waves.GetNumCol(), blockSize / 2)) return 0;
    try {
        for (__int64 row = 0; row < waves.GetNumRow(); ++row) {
            for (__int64 col = 0; col < waves.GetNumCol(); ++col) {
                kvx::AveragedSpectrum spectrum(windowSamples, overlap);
                spectrum.Add(kvx::Samples(waves, row, col));
                std::ranges::copy(spectrum.Psd(fs), kvx::Samples(*psd, row, col).begin());
            }
        }
        return 1;
    } catch (const std::exception&) {
        return 0;
    }
}
