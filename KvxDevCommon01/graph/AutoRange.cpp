// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/graph/AutoRange.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>

#include <KvxDevCommon01/dsp/MatBasic.h>

namespace kvx {

namespace {

struct RoundingRow {
    RangeRounding mode;
    CMatBasic::TRIM_MODE low;
    CMatBasic::TRIM_MODE high;
};

// clang-format off
constexpr RoundingRow kRoundings[] = {
    {RangeRounding::kNearest,         CMatBasic::TRIM_NEAREST,       CMatBasic::TRIM_NEAREST},
    {RangeRounding::kOutward,         CMatBasic::TRIM_DOWN,          CMatBasic::TRIM_UP},
    {RangeRounding::kStrictlyOutward, CMatBasic::TRIM_DOWN_STRICTLY, CMatBasic::TRIM_UP_STRICTLY},
    {RangeRounding::kInward,          CMatBasic::TRIM_UP,            CMatBasic::TRIM_DOWN},
    {RangeRounding::kStrictlyInward,  CMatBasic::TRIM_UP_STRICTLY,   CMatBasic::TRIM_DOWN_STRICTLY},
};
// clang-format on

double RoundedBound(double bound, double margin, CMatBasic::TRIM_MODE mode) {
    const double step = CMatBasic::TrimVal125(margin, CMatBasic::TRIM_NEAREST, nullptr);
    if (step == 0.0) return bound;
    const double rounded = CMatBasic::TrimValStep(bound, step, mode);
    return std::isfinite(rounded) ? rounded : bound;
}

}  // namespace

std::optional<AxisRange> AutoRange(double first, double second, AxisForm form, RangeRounding mode) {
    const auto* rounding = std::ranges::find(kRoundings, mode, &RoundingRow::mode);
    if (rounding == std::end(kRoundings) || !std::isfinite(second - first)) return std::nullopt;
    const auto [low, high] = std::minmax(first, second);

    const bool isWide = form == AxisForm::kLogarithmic && low > 0.0 && high / low >= 2.0;
    const double span = high - low;
    const double lowMargin = isWide ? low * 0.05 : span / 100.0;
    const double highMargin = isWide ? high * 0.05 : span / 100.0;
    return AxisRange{RoundedBound(low, lowMargin, rounding->low),
                     RoundedBound(high, highMargin, rounding->high)};
}

double RoundToSignificantDigits(double value, int digits) {
    const double grown = std::abs(value) * 1.00001;
    const double unit = std::pow(10.0, std::floor(std::log10(grown)) - (static_cast<double>(digits) - 1.0));
    const double rounded = value > 0.0 ? std::floor(grown / unit + 0.5) * unit
                                       : -std::ceil(std::abs(value) * 0.99999 / unit + 0.5) * unit;
    return value != 0.0 && std::isfinite(rounded) ? rounded : value;
}

}  // namespace kvx
