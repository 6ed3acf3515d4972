// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/MatBasic.h>
#include <KvxDevCommon01/dsp/detail/TrigTables.h>

#include <bit>
#include <cmath>
#include <numbers>

__int64 CMatBasic::GreaterEqPow2(__int64 n) {
    if (n <= 1) return 1;
    if (n > __int64{1} << 62) return 0;
    return static_cast<__int64>(std::bit_ceil(static_cast<std::uint64_t>(n)));
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
