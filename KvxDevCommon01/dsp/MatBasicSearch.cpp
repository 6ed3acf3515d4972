// SPDX-License-Identifier: MIT
//
// Searches in arrays: nearest value, extremes, crossings, peaks and notches, the width of a resonance.

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/RangeScan.h>
#include <KvxDevCommon01/data/kernels/ReductionKernels.h>
#include <KvxDevCommon01/dsp/MatBasic.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

using kvx::kNoValue;

bool HoldsNumber(double value) {
    return value != kNoValue<double> && !std::isnan(value);
}

bool IsInside(__int64 n, const double* a, __int64 index) {
    return a != nullptr && index >= 0 && index < n;
}

template <typename Value>
void Store(Value* output, Value value) {
    if (output != nullptr) *output = value;
}

/// The search of BinarySearch over values given by index; n >= 1.
template <class ValueAt>
__int64 NearestByHalving(__int64 n, ValueAt valueAt, double x) {
    if (n < 2 || x < valueAt(0)) return 0;
    if (x > valueAt(n - 1)) return n - 1;

    __int64 p = CMatBasic::GreaterEqPow2(n) / 2;
    for (__int64 step = p / 2; step >= 1; step /= 2) {
        if (p >= n) {
            p -= step;
            continue;
        }
        const double reached = valueAt(p);
        if (reached == x) return p;
        p += x > reached ? step : -step;
    }

    // The halving never ends at index 0, nor at n - 1 with x above it: both neighbours used here exist.
    const double reached = valueAt(p);
    if (x > reached && x - reached > valueAt(p + 1) - x) return p + 1;
    if (x < reached && reached - x > x - valueAt(p - 1)) return p - 1;
    return p;
}

/// Whether going from `before` to `now` crosses or reaches the threshold.
bool Crosses(double before, double now, double threshold) {
    return (now >= threshold && threshold > before) || (threshold >= now && before > threshold);
}

/// Where, from the peak on in one direction, the amplitude comes down to `level`; the no-value marker when it
/// does not.
double FrequencyAtLevel(__int64 n, const double* amp, const double* freq, __int64 peak, __int64 direction,
                        double level, bool logScale) {
    for (__int64 i = peak + direction; i >= 0 && i < n; i += direction) {
        if (amp[i] == kNoValue<double>) break;
        if (!(amp[i] <= level)) continue;

        double levelIn = level;
        double ampOut = amp[i];
        double ampIn = amp[i - direction];
        double freqOut = freq[i];
        double freqIn = freq[i - direction];
        if (logScale) {
            if (!(ampOut > 0.0 && ampIn > 0.0 && freqOut > 0.0 && freqIn > 0.0)) break;
            for (double* const value : {&levelIn, &ampOut, &ampIn, &freqOut, &freqIn}) {
                *value = std::log(*value);
            }
        }
        const double crossing = freqOut + (levelIn - ampOut) / (ampIn - ampOut) * (freqIn - freqOut);
        return logScale ? std::exp(crossing) : crossing;
    }
    return kNoValue<double>;
}

}  // namespace

__int64 CMatBasic::BinarySearch(const double* a, __int64 n, double x) {
    if (a == nullptr) return 0;
    return NearestByHalving(
        n, [a](__int64 i) { return a[i]; }, x);
}

__int64 CMatBasic::BinarySerchFwInd(const CDataArrayDouble& a, const CDataArrayIntPtr& order, double x) {
    if (a.GetNum() < 1 || a.GetNum() != order.GetNum()) return -1;
    return NearestByHalving(
        a.GetNum(), [&](__int64 i) { return a[order[i]]; }, x);
}

int CMatBasic::GetMinMax(__int64 n, const double* a, __int64 start, double* min, double* max) {
    return GetMinMaxAndPMin(n, a, start, min, max, nullptr);
}

int CMatBasic::GetMinMaxEx(const double* a, __int64 n, __int64 start, double* min, double* max) {
    if (a == nullptr || start < 0) return 0;
    return GetMinMax(n, a + start, 0, min, max);
}

int CMatBasic::GetMinMaxAndPMin(__int64 n, const double* a, __int64 start, double* min, double* max,
                                double* positiveMin) {
    if (!IsInside(n, a, start)) return 0;
    kvx::RangeScan<double> scan(positiveMin ? kvx::SmallestPositive::wanted : kvx::SmallestPositive::ignored);
    scan.Add({a + start, static_cast<std::size_t>(n - start)});
    return scan.Write(min, max, positiveMin);
}

int CMatBasic::GetMinMaxValueAndPos(__int64 n, const double* a, __int64 start, double* min, __int64* minPos,
                                    double* max, __int64* maxPos) {
    if (!IsInside(n, a, start)) return 0;
    const kvx::ReductionKernels& kernels = kvx::ActiveKernels<kvx::ReductionKernels>();
    const auto [low, high] = kernels.extremes(a + start, n - start);
    const bool hasNumber = low <= high;
    const auto firstOf = [&](double extreme) {
        return hasNumber ? start + kernels.find(a + start, n - start, extreme) : -1;
    };
    const __int64 lowPos = firstOf(low);
    const __int64 highPos = firstOf(high);
    Store(minPos, lowPos);
    Store(maxPos, highPos);
    if (!hasNumber) return 0;
    Store(min, a[lowPos]);
    Store(max, a[highPos]);
    return 1;
}

__int64 CMatBasic::GetZeroCrossPos(__int64 n, const double* a, __int64 start, double* value) {
    if (!IsInside(n, a, start)) return -1;
    const bool isPositive = a[start] > 0.0;
    for (__int64 i = start + 1; i < n; ++i) {
        if (isPositive ? a[i] <= 0.0 : a[i] >= 0.0) {
            Store(value, a[i]);
            return i;
        }
    }
    return -1;
}

__int64 CMatBasic::GetCrossedThresholdPos(__int64 n, const double* a, double threshold, __int64 start,
                                          int bothSigns, double* value) {
    if (!IsInside(n, a, start)) return -1;
    for (__int64 i = start + 1; i < n; ++i) {
        if (Crosses(a[i - 1], a[i], threshold) || (bothSigns && Crosses(a[i - 1], a[i], -threshold))) {
            Store(value, a[i]);
            return i;
        }
    }
    return -1;
}

__int64 CMatBasic::SearchPeakNotch(__int64 n, const double* a, __int64 lowest, __int64 start, int forward,
                                   int stopAtPeak, int stopAtNotch, int logScale, double depth, double low,
                                   double high, int* isPeak) {
    constexpr double kLogFloor = 1e-99;
    if (a == nullptr || n < 2 || lowest < 0 || !(depth >= 0.0)) return -1;
    if (start < lowest || start - lowest >= n) return -1;
    const double hysteresis = !logScale ? (high - low) * depth : depth >= 1.0 ? std::log(depth) : 0.0;
    if (!logScale && !(hysteresis > 0.0)) return -1;

    enum class Trend { kUnknown, kRising, kFalling };
    Trend trend = Trend::kUnknown;
    bool hasExtreme = false;
    double extreme = 0.0;
    __int64 extremePos = -1;

    __int64 remaining = forward ? n - (start - lowest) : start - lowest + 1;
    for (__int64 i = start; remaining > 0; --remaining, i += forward ? 1 : -1) {
        if (!HoldsNumber(a[i])) continue;
        const double value = logScale ? LimitedLog(a[i], kLogFloor) : a[i];
        if (!hasExtreme) {
            hasExtreme = true;
            extreme = value;
            continue;
        }

        const bool isAbove = value > extreme;
        if (value == extreme) continue;
        if (trend == Trend::kUnknown) {
            trend = isAbove ? Trend::kRising : Trend::kFalling;
        } else if (isAbove != (trend == Trend::kRising)) {
            const bool hasTurned = isAbove ? value >= extreme + hysteresis : value <= extreme - hysteresis;
            if (!hasTurned) continue;
            const bool wasPeak = trend == Trend::kRising;
            if (wasPeak ? stopAtPeak : stopAtNotch) {
                Store(isPeak, wasPeak ? 1 : 0);
                return extremePos;
            }
            trend = wasPeak ? Trend::kFalling : Trend::kRising;
        }
        extreme = value;
        extremePos = i;
    }
    return -1;
}

__int64 CMatBasic::GetTopValueArray(__int64 n, const double* a, __int64 maxNum, __int64* positions,
                                    double* values) {
    if (a == nullptr || n < 1 || positions == nullptr || maxNum < 1) return 0;
    // The positions are a heap with the least of the peaks kept so far on top.
    const auto isBetter = [a](__int64 p, __int64 q) { return a[p] != a[q] ? a[p] > a[q] : p < q; };
    __int64 count = 0;
    const auto keep = [&](__int64 position) {
        if (count < maxNum) {
            positions[count++] = position;
        } else if (isBetter(position, positions[0])) {
            std::pop_heap(positions, positions + count, isBetter);
            positions[count - 1] = position;
        } else {
            return;
        }
        std::push_heap(positions, positions + count, isBetter);
    };

    __int64 top = -1;  // the first sample of the level stretch that the walk is on, if it rose to it
    __int64 previous = -1;
    for (__int64 i = 0; i < n; ++i) {
        if (!HoldsNumber(a[i])) continue;
        if (previous >= 0 && a[i] > a[previous]) {
            top = i;
        } else if (previous >= 0 && a[i] < a[previous]) {
            if (top >= 0) keep(top);
            top = -1;
        }
        previous = i;
    }

    std::sort_heap(positions, positions + count, isBetter);
    if (values != nullptr)
        std::transform(positions, positions + count, values, [a](__int64 p) { return a[p]; });
    return count;
}

double CMatBasic::GetSpecQValue(__int64 n, const double* amp, const double* freq, __int64 peak,
                                int logScale) {
    if (!IsInside(n, amp, peak) || freq == nullptr || peak < 1) return kNoValue<double>;
    if (!(amp[peak] > 0.0) || std::isinf(amp[peak])) return kNoValue<double>;
    const double level = amp[peak] / std::numbers::sqrt2;
    const double below = FrequencyAtLevel(n, amp, freq, peak, -1, level, logScale != 0);
    const double above = FrequencyAtLevel(n, amp, freq, peak, +1, level, logScale != 0);
    if (below == kNoValue<double> || above == kNoValue<double> || below == above) return kNoValue<double>;
    return freq[peak] / (above - below);
}
