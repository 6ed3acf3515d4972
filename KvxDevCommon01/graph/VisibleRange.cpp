// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/graph/VisibleRange.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>

#include <KvxDevCommon01/data/DataArray.h>
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
std::optional<IndexRange> Trimmed(__int64 first, __int64 last, std::span<const double> values) {
    const auto isMissing = [&](__int64 index) {
        return values[static_cast<std::size_t>(index)] == kNoValue<double>;
    };
    first = std::max<__int64>(first, 0);
    last = std::min(last, std::ssize(values) - 1);
    while (first <= last && isMissing(first)) ++first;
    while (first <= last && isMissing(last)) --last;
    if (first > last) return std::nullopt;
    return IndexRange{first, last - first + 1};
}

}  // namespace

std::optional<IndexRange> FindVisibleRange(const AxisRange& shown, double start, double interval,
                                           std::span<const double> values) {
    if (values.empty()) return std::nullopt;
    const double first = std::floor((shown.low - start) / interval + kIndexTolerance);
    const double last = std::ceil((shown.high - start) / interval - kIndexTolerance);
    if (interval == 0.0 || std::isnan(first) || std::isnan(last)) return std::nullopt;
    const __int64 count = std::ssize(values);
    return Trimmed(ClampedIndex(first, -1, count), ClampedIndex(last, -1, count), values);
}

std::optional<IndexRange> FindVisibleRange(const AxisRange& shown, std::span<const double> xValues,
                                           std::span<const double> values) {
    const std::size_t num = std::min(values.size(), xValues.size());
    if (num == 0 || std::isnan(shown.low) || std::isnan(shown.high)) return std::nullopt;
    const double* x = xValues.data();
    __int64 first = CMatBasic::BinarySearch(x, static_cast<__int64>(num), shown.low);
    __int64 last = CMatBasic::BinarySearch(x, static_cast<__int64>(num), shown.high);
    if (x[first] * 0.99999 > shown.low) --first;
    if (shown.low > x[last] * 1.00001) ++last;
    return Trimmed(first, last, values.first(num));
}

}  // namespace kvx
