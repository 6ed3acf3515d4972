// SPDX-License-Identifier: MIT
#include <KvxPlot01/Ticks.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <span>
#include <string>

#include <KvxDevCommon01/text/ConvData.h>

namespace kvx::plot {
namespace {

constexpr double kMostMajors = 12.0;
// Part of a step by which a bound may miss a tick and still be on it.
constexpr double kTolerance = 1e-6;
// Beyond this a double cannot tell neighbouring ticks apart.
constexpr double kMostIndex = 1e13;
constexpr int kMostDecimals = 15;
// Numbers from 10^kLowPlain to below 10^kHighPlain are written without a power of ten.
constexpr int kLowPlain = -3;
constexpr int kHighPlain = 6;

/// digit * 10^exponent, as exact as a double can be.
struct Step {
    int digit = 1;
    int exponent = 0;

    double Value() const { return Times(1.0); }
    double Times(double index) const {
        return exponent < 0 ? index * digit / std::pow(10.0, -exponent)
                            : index * digit * std::pow(10.0, exponent);
    }
    Step Coarser() const {
        switch (digit) {
            case 1:
                return {2, exponent};
            case 2:
                return {5, exponent};
            default:
                return {1, exponent + 1};
        }
    }
    /// The step of the minor ticks of 1, 2 and 5: a fifth, of 2 a quarter.
    Step Finer() const {
        switch (digit) {
            case 1:
                return {2, exponent - 1};
            case 2:
                return {5, exponent - 1};
            default:
                return {1, exponent};
        }
    }
};

Step StepAtLeast(double value) {
    Step step{1, static_cast<int>(std::floor(std::log10(value)))};
    while (step.Value() < value * (1.0 - kTolerance)) step = step.Coarser();
    return step;
}

int FloorLog10(double value) {
    return static_cast<int>(std::floor(std::log10(value) + kTolerance));
}

std::wstring Number(double value, wchar_t conversion, int digits) {
    const std::wstring format = L"%." + std::to_wstring(std::clamp(digits, 0, kMostDecimals)) + conversion;
    CString text;
    CConvData::ValToStr(value, &text, format.c_str());
    return text;
}

std::wstring PowerOfTen(int exponent) {
    return L"10#u" + std::to_wstring(exponent) + L"#n";
}

bool IsStyled(const TickStyle& style) {
    return style.decimals || style.significantDigits;
}

std::wstring StyledNumber(double value, const TickStyle& style) {
    return style.decimals ? Number(value, L'f', *style.decimals)
                          : Number(value, L'g', *style.significantDigits);
}

/// Calls `use` with the index of each multiple of `step` within the bounds.
template <typename Use>
void ForEachMultiple(const AxisRange& bounds, const Step& step, Use use) {
    const double first = std::ceil(bounds.low / step.Value() - kTolerance);
    const double last = std::floor(bounds.high / step.Value() + kTolerance);
    if (!(std::abs(first) < kMostIndex && std::abs(last) < kMostIndex)) return;
    for (double index = first; index <= last; ++index) use(index + 0.0);
}

/// The power of ten taken out of the numbers of a linear axis: 0, or a multiple of 3.
int FactorExponent(const AxisRange& bounds) {
    const double largest = std::max(std::abs(bounds.low), std::abs(bounds.high));
    const int exponent = FloorLog10(largest);
    if (exponent >= kLowPlain && exponent < kHighPlain) return 0;
    return static_cast<int>(std::floor(exponent / 3.0)) * 3;
}

TickPlan LinearPlan(const AxisRange& bounds, const Step& step, const Step& minor, double length,
                    double minorDistance, const TickStyle& style) {
    TickPlan plan;
    const int factor = IsStyled(style) ? 0 : FactorExponent(bounds);
    if (factor != 0) plan.factor = L"×" + PowerOfTen(factor);
    const Step numberStep{step.digit, step.exponent - factor};
    ForEachMultiple(bounds, step, [&](double index) {
        const double value = step.Times(index);
        std::wstring number = IsStyled(style) ? StyledNumber(value, style)
                                              : Number(numberStep.Times(index), L'f', -numberStep.exponent);
        plan.ticks.push_back({value, true, std::move(number)});
    });
    const double ratio = std::round(step.Value() / minor.Value());
    if (minor.Value() / (bounds.high - bounds.low) * length < minorDistance) return plan;
    ForEachMultiple(bounds, minor, [&](double index) {
        if (std::fmod(index, ratio) != 0.0) plan.ticks.push_back({minor.Times(index), false, {}});
    });
    std::ranges::sort(plan.ticks, {}, &Tick::value);
    return plan;
}

std::wstring DecadeNumber(int digit, int exponent, bool isPlain) {
    if (isPlain) return Number(Step{digit, exponent}.Value(), L'f', -exponent);
    return digit == 1 ? PowerOfTen(exponent) : std::to_wstring(digit) + L"×" + PowerOfTen(exponent);
}

/// One plan of a logarithmic axis: numbers at `numbered` of each decade, at every `every`-th decade.
TickPlan DecadePlan(const AxisRange& bounds, std::span<const int> numbered, int every, double length,
                    double minorDistance, const TickStyle& style) {
    TickPlan plan;
    const int first = FloorLog10(bounds.low);
    const int last = FloorLog10(bounds.high);
    const bool isPlain = first >= kLowPlain && last < kHighPlain;
    const double decade = length / std::log10(bounds.high / bounds.low);
    // The closest of the minor ticks are those at 9 and 10.
    const bool hasMinors = decade * std::log10(10.0 / 9.0) >= minorDistance;
    const bool hasDecades = decade >= minorDistance;
    for (int exponent = first; exponent <= last; ++exponent) {
        const bool isNumberedDecade = exponent % every == 0;
        for (int digit = 1; digit <= 9; ++digit) {
            const double value = Step{digit, exponent}.Value();
            if (value < bounds.low * (1.0 - kTolerance) || value > bounds.high * (1.0 + kTolerance)) continue;
            const bool isNumbered = isNumberedDecade && std::ranges::count(numbered, digit) > 0;
            const bool isMajor = digit == 1 && isNumberedDecade;
            if (!isNumbered && !isMajor && !(digit == 1 ? hasDecades : hasMinors && every == 1)) continue;
            std::wstring number;
            if (isNumbered) {
                number =
                    IsStyled(style) ? StyledNumber(value, style) : DecadeNumber(digit, exponent, isPlain);
            }
            plan.ticks.push_back({value, isMajor, std::move(number)});
        }
    }
    return plan;
}

std::ptrdiff_t CountNumbers(const TickPlan& plan) {
    return std::ranges::count_if(plan.ticks, [](const Tick& tick) { return !tick.number.empty(); });
}

TickPlan WithoutNumbers(TickPlan plan) {
    for (Tick& tick : plan.ticks) tick.number.clear();
    plan.factor.clear();
    return plan;
}

struct DegreeStep {
    int major;
    int minor;
};
constexpr DegreeStep kDegreeSteps[] = {{15, 5},   {30, 10},  {45, 15},  {90, 30},
                                       {180, 45}, {360, 90}, {720, 180}};
// Below this span, degrees are like any other values.
constexpr double kLeastDegrees = 60.0;
constexpr double kMostDegrees = 3600.0;

/// Ticks of equal steps. `length` belongs to the bounds as if the axis were linear; on a logarithmic one that
/// shows so little that it needs these it nearly is.
TickPlan PlanLinear(const AxisRange& bounds, double length, double minorDistance, const TickStyle& style,
                    const std::function<bool(const TickPlan&)>& fits) {
    const double span = bounds.high - bounds.low;
    if (style.isDegrees && span >= kLeastDegrees && span <= kMostDegrees) {
        for (const auto& [major, minor] : kDegreeSteps) {
            if (span / major > kMostMajors) continue;
            TickPlan plan = LinearPlan(bounds, {major, 0}, {minor, 0}, length, minorDistance, style);
            if (fits(plan)) return plan;
        }
    }
    Step step = StepAtLeast(span / kMostMajors);
    for (;;) {
        TickPlan plan = LinearPlan(bounds, step, step.Finer(), length, minorDistance, style);
        if (fits(plan)) return plan;
        if (CountNumbers(plan) <= 1) return WithoutNumbers(std::move(plan));
        step = step.Coarser();
    }
}

TickPlan PlanLogarithmic(const AxisRange& bounds, double length, double minorDistance, const TickStyle& style,
                         const std::function<bool(const TickPlan&)>& fits) {
    static constexpr std::array kAll = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    static constexpr std::array kSome = {1, 2, 5};
    static constexpr std::array kOne = {1};
    const double decades = std::log10(bounds.high / bounds.low);
    const auto plan = [&](std::span<const int> numbered, int every) {
        return DecadePlan(bounds, numbered, every, length, minorDistance, style);
    };
    const auto serves = [&](const TickPlan& candidate) {
        return CountNumbers(candidate) >= 2 && fits(candidate);
    };
    if (decades <= 1.0) {
        if (TickPlan all = plan(kAll, 1); serves(all)) return all;
    }
    if (TickPlan some = plan(kSome, 1); serves(some)) return some;
    TickPlan decadesOnly = plan(kOne, 1);
    if (CountNumbers(decadesOnly) < 2) return PlanLinear(bounds, length, minorDistance, style, fits);
    if (fits(decadesOnly)) return decadesOnly;
    for (const int every : {2, 3, 5, 10, 20, 50, 100}) {
        TickPlan thinned = plan(kOne, every);
        if (CountNumbers(thinned) > 0 && fits(thinned)) return thinned;
    }
    return WithoutNumbers(std::move(decadesOnly));
}

}  // namespace

TickPlan PlanTicks(const AxisRange& bounds, AxisForm form, double length, double minorDistance,
                   const TickStyle& style, const std::function<bool(const TickPlan&)>& fits) {
    const double span = bounds.high - bounds.low;
    if (!(span > kLeastAxisSpan && span < kMostAxisSpan && length > 0.0)) return {};
    if (form == AxisForm::kLinear) return PlanLinear(bounds, length, minorDistance, style, fits);
    if (!(bounds.low > 0.0)) return {};
    return PlanLogarithmic(bounds, length, minorDistance, style, fits);
}

}  // namespace kvx::plot
