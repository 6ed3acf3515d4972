// SPDX-License-Identifier: MIT
//
// The test framework with test signals, extreme numbers and the transform by its definition, in extended
// precision.
#pragma once

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/DataCplx.h>
#include <KvxDevCommon01/dsp/MatWIND.h>
#include <KvxDevCommon01/dsp/PsdProfile.h>
#include <KvxDevCommon01/platform/Error.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <numbers>
#include <optional>
#include <span>
#include <utility>
#include <vector>

using Wave = std::vector<double>;
using Line = std::complex<long double>;
using Results = std::vector<__int64>;
using Parts = std::pair<Wave, Wave>;  // real and imaginary

inline constexpr double kInfinity = std::numeric_limits<double>::infinity();
inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
inline constexpr double kNone = kvx::kNoValue<double>;
inline constexpr __int64 kFarthest = std::numeric_limits<__int64>::max();
inline constexpr __int64 kLowest = std::numeric_limits<__int64>::min();

inline std::int64_t Size(const Wave& wave) {
    return static_cast<std::int64_t>(wave.size());
}

/// Whether all of these results are 0; says which one is not.
template <class... Result>
testing::AssertionResult AllFail(Result... results) {
    int position = 0;
    for (const double result : {static_cast<double>(results)...}) {
        ++position;
        if (result != 0.0) return testing::AssertionFailure() << "number " << position << " gave " << result;
    }
    return testing::AssertionSuccess();
}

/// The kind of the Error that `action` throws; none when it throws nothing.
template <class Action>
std::optional<kvx::ErrorKind> FailureOf(Action action) {
    try {
        action();
        return std::nullopt;
    } catch (const kvx::Error& error) {
        return error.Kind();
    }
}

/// Whether the work throws Error (kBadValue).
template <class Work>
bool IsBadValue(Work work) {
    return FailureOf(work) == kvx::ErrorKind::kBadValue;
}

/// Uniform noise in [-1, 1).
inline Wave Noise(std::size_t count, std::uint64_t seed = 1) {
    Wave wave(count);
    for (double& x : wave) {
        seed = seed * 6364136223846793005U + 1442695040888963407U;
        x = static_cast<double>(seed >> 11) * 0x1p-52 - 1.0;
    }
    return wave;
}

/// Sample i is function(i).
template <class Function>
Wave WaveOf(std::size_t count, Function function) {
    Wave wave(count);
    for (std::size_t i = 0; i < count; ++i) wave[i] = function(static_cast<double>(i));
    return wave;
}

/// Matches values that lie within `tolerance` of the expected ones.
inline auto Near(const Wave& expected, double tolerance) {
    return testing::Pointwise(testing::DoubleNear(tolerance), expected);
}

inline CDataArrayDouble ToArray(const Wave& wave) {
    return CDataArrayDouble(Size(wave), wave.data());
}
inline Wave ToWave(const double* values, std::int64_t count) {
    return Wave(values, values + count);
}
inline Wave ToWave(const CDataArrayDouble& array) {
    return ToWave(array.GetData(), array.GetNum());
}

/// A real spectrum, or with imaginary parts a complex one.
inline CDataArrayDoubleCplx ToSpectrum(const Wave& re, const Wave& im = {}) {
    CDataArrayDoubleCplx spectrum(im.empty() ? 0 : 1, Size(re));
    spectrum.SetReal(re.data());
    spectrum.SetImaginary(im.data());
    return spectrum;
}

inline Parts PartsOf(const CDataArrayDoubleCplx& spectrum) {
    const double* const im = spectrum.GetImaginary();
    return {ToWave(spectrum.GetReal(), spectrum.GetNum()), ToWave(im, im == nullptr ? 0 : spectrum.GetNum())};
}

inline CDataArrayDouble Hann(std::int64_t count) {
    CDataArrayDouble window(count, 0.0);
    CMatWIND::GeneHanning(&window);
    return window;
}

/// The screening profile of NAVMAT P-9492: 3 dB/octave up to 80 Hz, 0.04 g^2/Hz to 350 Hz, 3 dB/octave
/// down; 6.06 g rms.
inline kvx::PsdProfile ScreeningProfile() {
    return kvx::PsdProfile(Wave{20, 80, 350, 2000}, Wave{0.01, 0.04, 0.04, 0.007});
}

/// A value of a complex transform in extended precision.
inline Line ToLine(double re, double im = 0.0) {
    return {static_cast<long double>(re), static_cast<long double>(im)};
}
inline Line ToLine(const Line& line) {
    return line;
}

/// Sums by definition: sum over n of x[n] e^(sign 2 pi i k n/N).
class DirectTransform {
public:
    explicit DirectTransform(std::size_t size, int sign = -1) : circle_(size) {
        for (std::size_t k = 0; k < size; ++k) {
            const long double turn = static_cast<long double>(k) / static_cast<long double>(size);
            const long double angle = 2 * std::numbers::pi_v<long double> * turn;
            circle_[k] = {std::cos(angle), static_cast<long double>(sign) * std::sin(angle)};
        }
    }

    template <class Value>
    Line At(std::span<const Value> x, std::size_t k) const {
        Line sum = 0;
        std::size_t angle = 0;
        for (const Value& value : x) {
            sum += ToLine(value) * circle_[angle];
            angle = (angle + k) % circle_.size();
        }
        return sum;
    }

private:
    std::vector<Line> circle_;
};
