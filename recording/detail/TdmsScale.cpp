// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/TdmsScale.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>

namespace kvx {
namespace {

constexpr std::string_view kNumber = "NI_Number_Of_Scales";
constexpr std::string_view kScale = "NI_Scale[";
/// The input of a scale that takes raw values.
constexpr std::uint32_t kRaw = 0xFFFFFFFF;
constexpr std::size_t kMostSteps = 64;

[[noreturn]] void Refuse(const std::string& what) {
    throw Error(ErrorKind::kUnsupported, what);
}

std::optional<std::uint32_t> WholeNumber(double number) {
    if (!(number >= 0.0 && number <= kRaw) || number != std::floor(number)) return std::nullopt;
    return static_cast<std::uint32_t>(number);
}

}  // namespace

/// Follows the inputs of scales back to raw values.
class TdmsScale::Builder {
public:
    Builder(const TdmsProperties& properties, std::span<const TdmsScaler> scalers, std::vector<Step>* steps)
        : properties_(properties), scalers_(scalers), steps_(*steps) {}

    void Build() {
        const std::optional<std::uint32_t> scales = CountScales();
        Add(!scales || *scales == 0 ? kRaw : *scales - 1);
    }

private:
    std::optional<std::uint32_t> CountScales() const {
        const auto stated = properties_.find(kNumber);
        if (stated != properties_.end() && stated->second.number) return WholeNumber(*stated->second.number);
        std::optional<std::uint32_t> last;
        for (auto at = properties_.lower_bound(kScale);
             at != properties_.end() && at->first.starts_with(kScale); ++at) {
            const char* const begin = at->first.data() + kScale.size();
            std::uint32_t number = 0;
            const auto [end, error] = std::from_chars(begin, at->first.data() + at->first.size(), number);
            if (error == std::errc() && end != begin && number < kRaw - 1)
                last = std::max(last.value_or(0), number + 1);
        }
        return last;
    }

    static std::string NameOf(std::uint32_t id, std::string_view rest) {
        return std::string(kScale) + std::to_string(id) + "]_" + std::string(rest);
    }

    const TdmsValue* Find(const std::string& name) const {
        const auto at = properties_.find(name);
        return at != properties_.end() ? &at->second : nullptr;
    }

    double Number(const std::string& name) const {
        const TdmsValue* const value = Find(name);
        if (value == nullptr || !value->number) Refuse("their scale lacks " + Quote(name));
        return *value->number;
    }

    /// The input of scale `id`, which is raw values or a scale in front of it.
    std::size_t Input(std::uint32_t id, const std::string& name) {
        const double stated = Find(NameOf(id, name)) != nullptr ? Number(NameOf(id, name)) : kRaw;
        const std::uint32_t source = stated == -1.0 ? kRaw : WholeNumber(stated).value_or(id);
        if (source != kRaw && source >= id) Refuse("their scales are no chain");
        return Add(source);
    }

    std::vector<double> Numbers(std::uint32_t id, const std::string& name) const {
        const std::uint32_t count = WholeNumber(Number(NameOf(id, name + "_Size"))).value_or(0);
        std::vector<double> numbers;
        for (std::uint32_t i = 0; i < count; ++i)
            numbers.push_back(Number(NameOf(id, name + "[" + std::to_string(i) + "]")));
        return numbers;
    }

    /// The step of a scale or scaler.
    std::size_t Add(std::uint32_t id) {
        if (const auto known = numbers_.find(id); known != numbers_.end()) return known->second;
        if (++followed_ > kMostSteps) Refuse("their scales are too many");
        const TdmsValue* const type = id == kRaw ? nullptr : Find(NameOf(id, "Scale_Type"));
        Step step = type != nullptr ? StepOf(id, type->text) : Raw(id);
        steps_.push_back(std::move(step));
        return numbers_[id] = steps_.size() - 1;
    }

    Step Raw(std::uint32_t id) const {
        if (scalers_.empty()) return {};
        const auto scaler = std::ranges::find(scalers_, id, &TdmsScaler::id);
        if (scaler == scalers_.end() && scalers_.size() > 1)
            Refuse(id == kRaw ? "their codes have no scale"
                              : "their scale " + std::to_string(id) + " is not stated");
        return {Step::Kind::raw, scaler == scalers_.end() ? scalers_[0].id : id};
    }

    Step StepOf(std::uint32_t id, const std::string& type) {
        Step step;
        if (type == "Linear") {
            step.kind = Step::Kind::polynomial;
            step.left = Input(id, "Linear_Input_Source");
            step.from = {Number(NameOf(id, "Linear_Y_Intercept")), Number(NameOf(id, "Linear_Slope"))};
        } else if (type == "Polynomial") {
            step.kind = Step::Kind::polynomial;
            step.left = Input(id, "Polynomial_Input_Source");
            step.from = Coefficients(id);
        } else if (type == "Table") {
            step.kind = Step::Kind::table;
            step.left = Input(id, "Table_Input_Source");
            FillTable(id, &step);
        } else if (type == "Add" || type == "Subtract") {
            step.kind = type == "Add" ? Step::Kind::sum : Step::Kind::difference;
            step.left = Input(id, type + "_Left_Operand_Input_Source");
            step.right = Input(id, type + "_Right_Operand_Input_Source");
        } else {
            Refuse("their scale, " + Quote(type) + ", is not supported");
        }
        return step;
    }

    std::vector<double> Coefficients(std::uint32_t id) const {
        const std::string name = "Polynomial_Coefficients";
        std::vector<double> coefficients;
        if (Find(NameOf(id, name + "_Size")) != nullptr) {
            coefficients = Numbers(id, name);
        } else {  // four, where a file does not state how many
            for (const char* const index : {"[0]", "[1]", "[2]", "[3]"})
                coefficients.push_back(Number(NameOf(id, name + index)));
        }
        if (coefficients.empty()) Refuse("their scale is a polynomial without coefficients");
        return coefficients;
    }

    /// The inputs of a table are those called scaled, which is how the programs that write tables use them.
    void FillTable(std::uint32_t id, Step* step) const {
        step->from = Numbers(id, "Table_Scaled_Values");
        step->to = Numbers(id, "Table_Pre_Scaled_Values");
        if (step->from.size() > 1 && step->from.front() > step->from.back()) {
            std::ranges::reverse(step->from);
            std::ranges::reverse(step->to);
        }
        const auto isNoStep = [](double a, double b) { return !(a < b); };
        if (step->from.empty() || step->from.size() != step->to.size() ||
            std::ranges::adjacent_find(step->from, isNoStep) != step->from.end()) {
            Refuse("their scale is a table that does not rise");
        }
    }

    const TdmsProperties& properties_;
    std::span<const TdmsScaler> scalers_;
    std::vector<Step>& steps_;
    std::map<std::uint32_t, std::size_t> numbers_;  ///< of steps, by scales
    std::size_t followed_ = 0;                      ///< scales
};

std::size_t TdmsScale::Numbers() const {
    std::size_t numbers = 0;
    for (const Step& step : steps_) numbers += step.from.size() + step.to.size();
    return numbers;
}

bool TdmsScale::IsStated(const TdmsProperties& properties) {
    const auto at = properties.lower_bound(kScale);
    return properties.contains(kNumber) || (at != properties.end() && at->first.starts_with(kScale));
}

TdmsScale::TdmsScale(const TdmsProperties& properties, std::span<const TdmsScaler> scalers) {
    Builder(properties, scalers, &steps_).Build();
}

bool TdmsScale::KeepsFinite(double largest) const {
    std::vector<double> bounds;
    for (const Step& step : steps_) {
        double bound = largest;
        if (step.kind == Step::Kind::polynomial) {
            bound = 0.0;
            for (auto at = step.from.rbegin(); at != step.from.rend(); ++at)
                bound = bound * bounds[step.left] + std::abs(*at);
        } else if (step.kind == Step::Kind::table) {
            bound = step.from.back() - step.from.front();
            for (const double value : step.to) bound = std::max(bound, 2.0 * std::abs(value));
        } else if (step.kind != Step::Kind::raw) {
            bound = bounds[step.left] + bounds[step.right];
        }
        if (!std::isfinite(bound)) return false;
        bounds.push_back(bound);
    }
    return true;
}

void TdmsScale::Apply(const RawValues& raw, std::span<double> values) {
    for (std::size_t i = 0; i < steps_.size(); ++i) {
        Step& step = steps_[i];
        const bool isLast = i + 1 == steps_.size();
        if (!isLast) step.room.resize(std::max(step.room.size(), values.size()));
        const std::span<double> out = isLast ? values : std::span(step.room).first(values.size());
        if (step.kind == Step::Kind::raw) {
            raw(step.scaler, out);
        } else {
            const auto input = [&](std::size_t number) {
                return std::span<const double>(steps_[number].room).first(values.size());
            };
            Run(step, input(step.left), input(step.right), out);
        }
    }
}

void TdmsScale::Run(Step& step, std::span<const double> left, std::span<const double> right,
                    std::span<double> values) {
    const std::vector<double>& from = step.from;
    switch (step.kind) {
        case Step::Kind::polynomial:
            if (from.size() == 2) {
                for (std::size_t i = 0; i < values.size(); ++i) values[i] = from[1] * left[i] + from[0];
                return;
            }
            std::ranges::fill(values, from.back());
            for (std::size_t power = from.size() - 1; power-- > 0;) {
                for (std::size_t i = 0; i < values.size(); ++i) values[i] = values[i] * left[i] + from[power];
            }
            return;
        case Step::Kind::table:
            for (std::size_t i = 0; i < values.size(); ++i) {
                const auto above = std::ranges::upper_bound(from, left[i]);
                const auto at = static_cast<std::size_t>(above - from.begin());
                if (at == 0 || at == from.size()) {
                    values[i] = std::isnan(left[i]) ? left[i] : step.to[at == 0 ? 0 : at - 1];
                } else {
                    const double part = (left[i] - from[at - 1]) / (from[at] - from[at - 1]);
                    values[i] = step.to[at - 1] + part * (step.to[at] - step.to[at - 1]);
                }
            }
            return;
        case Step::Kind::sum:
            std::ranges::transform(left, right, values.begin(), std::plus<>());
            return;
        case Step::Kind::difference:  // of the right operand less the left one, as the programs that write it
                                      // do
            std::ranges::transform(left, right, values.begin(), [](double a, double b) { return b - a; });
            return;
        case Step::Kind::raw:
            return;
    }
}

}  // namespace kvx
