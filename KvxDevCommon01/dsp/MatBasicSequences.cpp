// SPDX-License-Identifier: MIT
//
// Sequences of numbers: evenly and logarithmically spaced values, rounding to grids of values, cosine
// windows, random numbers.

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/dsp/MatBasic.h>
#include <KvxDevCommon01/dsp/detail/TrigTables.h>

#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <span>

namespace {

using TRIM_MODE = CMatBasic::TRIM_MODE;

// A value within this part of a step of a grid lies on it.
constexpr double kStepTolerance = 0.001;
// The same for the grids of decades, as a factor.
constexpr double kDecadeTolerance = 1.000001;

template <class ValueAt>
__int64 FillSequence(CDataArrayDouble* out, __int64 count, ValueAt valueAt) {
    if (out == nullptr || count < 1 || !out->SetData(count, nullptr)) return 0;
    for (__int64 i = 0; i < count; ++i) out->GetData()[i] = valueAt(static_cast<double>(i));
    return count;
}

/// Values of a sequence whose end is `steps` steps from its start, at most `max`; 0 when there are none.
__int64 CountOfSteps(double steps, __int64 max) {
    if (max < 1 || !(steps >= -kStepTolerance)) return 0;
    const double count = std::floor(steps + kStepTolerance) + 1.0;
    return count < static_cast<double>(max) ? static_cast<__int64>(count) : max;
}

/// The direction for the magnitude of a negative number.
TRIM_MODE Mirrored(TRIM_MODE mode) {
    switch (mode) {
        case CMatBasic::TRIM_UP:
            return CMatBasic::TRIM_DOWN;
        case CMatBasic::TRIM_UP_STRICTLY:
            return CMatBasic::TRIM_DOWN_STRICTLY;
        case CMatBasic::TRIM_DOWN:
            return CMatBasic::TRIM_UP;
        case CMatBasic::TRIM_DOWN_STRICTLY:
            return CMatBasic::TRIM_UP_STRICTLY;
        default:
            return mode;
    }
}

/// mantissa 10^exponent, rounded once wherever 10^|exponent| is exact.
struct DecadeValue {
    int mantissa;
    int exponent;

    double Value() const {
        const double power = std::pow(10.0, std::abs(exponent));
        return exponent < 0 ? mantissa / power : mantissa * power;
    }
};

/// The series of some mantissas, 1 the first of them, in all decades.
class DecadeSeries {
public:
    explicit DecadeSeries(std::span<const int> mantissas) : mantissas_(mantissas) {}

    /// Rounds a normal number above 0.
    DecadeValue Trim(double x, TRIM_MODE mode) const {
        switch (mode) {
            case CMatBasic::TRIM_UP:
                return Above(x / kDecadeTolerance);
            case CMatBasic::TRIM_UP_STRICTLY:
                return Above(x * kDecadeTolerance);
            case CMatBasic::TRIM_DOWN:
                return Below(x * kDecadeTolerance);
            case CMatBasic::TRIM_DOWN_STRICTLY:
                return Below(x / kDecadeTolerance);
            case CMatBasic::TRIM_NEAREST:
                break;
        }
        const DecadeValue above = Trim(x, CMatBasic::TRIM_UP);
        const DecadeValue below = Trim(x, CMatBasic::TRIM_DOWN);
        const double distanceUp = std::log10(above.Value()) - std::log10(x);
        const double distanceDown = std::log10(x) - std::log10(below.Value());
        return distanceUp < distanceDown ? above : below;
    }

private:
    static int Exponent(double x) { return static_cast<int>(std::floor(std::log10(x))); }

    DecadeValue Above(double x) const {
        const int exponent = Exponent(x);
        const double m = x / std::pow(10.0, exponent);
        for (const int mantissa : mantissas_.subspan(1)) {
            if (m <= mantissa) return {mantissa, exponent};
        }
        return {1, exponent + 1};
    }

    DecadeValue Below(double x) const {
        const int exponent = Exponent(x);
        const double m = x / std::pow(10.0, exponent);
        int largest = 1;
        for (const int mantissa : mantissas_) {
            if (m >= mantissa) largest = mantissa;
        }
        return {largest, exponent};
    }

    std::span<const int> mantissas_;
};

double TrimToSeries(std::span<const int> mantissas, double x, TRIM_MODE mode, std::int32_t* mantissa) {
    const bool isKnown = mode >= CMatBasic::TRIM_NEAREST && mode <= CMatBasic::TRIM_DOWN_STRICTLY;
    if (!isKnown || !std::isnormal(x)) {
        if (mantissa != nullptr) *mantissa = 0;
        return 0.0;
    }
    const DecadeValue trimmed = DecadeSeries(mantissas).Trim(std::abs(x), x < 0.0 ? Mirrored(mode) : mode);
    if (mantissa != nullptr) *mantissa = trimmed.mantissa;
    return std::copysign(trimmed.Value(), x);
}

}  // namespace

int CMatBasic::CreateSeqLin(double start, double step, __int64 n, CDataArrayDouble* out) {
    return FillSequence(out, n, [=](double i) { return start + i * step; }) > 0 ? 1 : 0;
}

__int64 CMatBasic::CreateSeqLin(double start, double end, double step, __int64 max, CDataArrayDouble* out) {
    if (!std::isfinite(start) || !std::isfinite(end) || !std::isfinite(step) || step == 0.0) return 0;
    const __int64 count = CountOfSteps((end - start) / step, max);
    return FillSequence(out, count, [=](double i) { return start + i * step; });
}

__int64 CMatBasic::CreateSeqLog(double start, double end, __int64 perDecade, __int64 max,
                                CDataArrayDouble* out) {
    if (!(start > 0.0 && end > 0.0) || std::isinf(start) || std::isinf(end) || perDecade < 1) return 0;
    const double stepsPerDecade = static_cast<double>(perDecade);
    const double decades = std::log10(end) - std::log10(start);
    const double direction = decades < 0.0 ? -1.0 : 1.0;
    const __int64 count = CountOfSteps(std::abs(decades) * stepsPerDecade, max);
    return FillSequence(out, count,
                        [=](double i) { return start * std::pow(10.0, direction * i / stepsPerDecade); });
}

double CMatBasic::TrimVal125(double x, TRIM_MODE mode, std::int32_t* mantissa) {
    static constexpr std::array kMantissas = {1, 2, 5};
    return TrimToSeries(kMantissas, x, mode, mantissa);
}

double CMatBasic::TrimValPow10(double x, TRIM_MODE mode) {
    static constexpr std::array kMantissas = {1};
    return TrimToSeries(kMantissas, x, mode, nullptr);
}

double CMatBasic::TrimValStep(double x, double step, TRIM_MODE mode) {
    // From here on the multiples lie closer than numbers do: every number is one.
    constexpr double kFinest = 0x1p53;
    if (!std::isfinite(x) || !std::isfinite(step) || step == 0.0) return 0.0;
    const double size = std::abs(step);
    const double steps = x / size;
    double trimmed = 0.0;
    switch (mode) {
        case TRIM_NEAREST:
            trimmed = steps < 0.0 ? std::floor(steps + 0.5) : std::ceil(steps - 0.5);
            break;
        case TRIM_UP:
            trimmed = std::ceil(steps - kStepTolerance);
            break;
        case TRIM_UP_STRICTLY:
            trimmed = std::floor(steps + kStepTolerance) + 1.0;
            break;
        case TRIM_DOWN:
            trimmed = std::floor(steps + kStepTolerance);
            break;
        case TRIM_DOWN_STRICTLY:
            trimmed = std::ceil(steps - kStepTolerance) - 1.0;
            break;
        default:
            return 0.0;
    }
    if (!(std::abs(steps) < kFinest)) return x;
    return trimmed * size + 0.0;  // + 0.0 makes a negative zero positive
}

int CMatBasic::WindowCore(double a, double b, double phase0, double dphase, __int64 n, double* data) {
    // Up to here the nearest entry is a whole number that a double holds to the last digit.
    constexpr double kLargestAngle = 1e11;
    if (data == nullptr || n < 1) return 0;
    const double lastAngle = phase0 + static_cast<double>(n - 1) * dphase;
    if (!(std::fabs(phase0) <= kLargestAngle) || !(std::fabs(lastAngle) <= kLargestAngle)) return 0;

    constexpr double kHalfTurn = static_cast<double>(kvx::kSineHalfTurn);
    const double* const sine = kvx::SineTable();
    for (__int64 i = 0; i < n; ++i) {
        const double angle = phase0 + static_cast<double>(i) * dphase;
        const auto entry = static_cast<__int64>(std::floor(angle * kHalfTurn / std::numbers::pi + 0.5));
        const __int64 shifted = entry + kvx::kSineHalfTurn / 2;
        const double value = sine[shifted & (kvx::kSineHalfTurn - 1)];
        data[i] *= a - b * ((shifted & kvx::kSineHalfTurn) != 0 ? -value : value);
    }
    return 1;
}

double CMatBasic::GenRandom(std::uint32_t* seed) {
    if (seed == nullptr) return 0.0;
    *seed = (*seed * 1229U + 351750U) % 1664501U;
    return *seed * 6.007806543823044e-7;
}
