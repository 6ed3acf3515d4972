// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/graph/VisibleRange.h>

#include <algorithm>
#include <cmath>

#include <KvxDevCommon01/dsp/MatBasic.h>

namespace kvx {

namespace {

/// How far a bound may miss a sample and still be on it, in sample distances.
constexpr double kIndexTolerance = 1e-5;

/// `index` brought into [low, high]; it is a whole number, however large.
__int64 ClampedIndex(double index, __int64 low, __int64 high) {
    if (index <= static_cast<double>(low)) return low;
    return index >= static_cast<double>(high) ? high : static_cast<__int64>(index);
}

/// The samples from `first` to `last`, both within [-1, count], without those of no value at the ends.
int Trimmed(__int64 first, __int64 last, const double* values, __int64 count, IndexRange* range) {
    first = std::max<__int64>(first, 0);
    last = std::min(last, count - 1);
    if (values != nullptr) {
        while (first <= last && values[first] == kNoValue<double>) ++first;
        while (first <= last && values[last] == kNoValue<double>) --last;
    }
    if (first > last) return 0;
    *range = {first, last - first + 1};
    return 1;
}

}  // namespace

int FindVisibleRange(const AxisRange& shown, double start, double interval, const double* values,
                     __int64 count, IndexRange* range) {
    if (range == nullptr || count < 1) return 0;
    const double first = std::floor((shown.low - start) / interval + kIndexTolerance);
    const double last = std::ceil((shown.high - start) / interval - kIndexTolerance);
    if (interval == 0.0 || std::isnan(first) || std::isnan(last)) return 0;
    return Trimmed(ClampedIndex(first, -1, count), ClampedIndex(last, -1, count), values, count, range);
}

int FindVisibleRange(const AxisRange& shown, const CDataArrayDouble& xValues, const double* values,
                     __int64 count, IndexRange* range) {
    const __int64 num = std::min(count, xValues.GetNum());
    if (range == nullptr || num < 1 || std::isnan(shown.low) || std::isnan(shown.high)) return 0;
    const double* x = xValues.GetData();
    __int64 first = CMatBasic::BinarySearch(x, num, shown.low);
    __int64 last = CMatBasic::BinarySearch(x, num, shown.high);
    if (x[first] * 0.99999 > shown.low) --first;
    if (shown.low > x[last] * 1.00001) ++last;
    return Trimmed(first, last, values, num, range);
}

}  // namespace kvx
