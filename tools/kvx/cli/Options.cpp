// SPDX-License-Identifier: MIT
#include "cli/Options.h"

#include <fmt/format.h>
#include <cmath>
#include <functional>
#include <optional>

#include "cli/Format.h"

namespace kvx::tool {
namespace {

/// A check that the text is a number for which `holds`; "'abc' is not WANTED" otherwise.
Complaint NumberCheck(const std::string& wanted, const std::function<bool(double)>& holds) {
    return [wanted, holds](const std::string& text) {
        const std::optional<double> value = ParseNumber(text);
        return value && holds(*value) ? std::string() : fmt::format("{} is not {}", Quote(text), wanted);
    };
}

}  // namespace

Complaint PositiveNumber() {
    return NumberCheck("a number above 0", [](double v) { return std::isfinite(v) && v > 0.0; });
}

Complaint NonNegativeNumber() {
    return NumberCheck("a number of 0 or more", [](double v) { return std::isfinite(v) && v >= 0.0; });
}

Complaint WholeNumber(std::int64_t least, std::int64_t most) {
    return NumberCheck(fmt::format("a whole number from {} to {}", least, most), [=](double v) {
        return v == std::floor(v) && v >= static_cast<double>(least) && v <= static_cast<double>(most);
    });
}

Complaint FiniteNumber() {
    return NumberCheck("a number", [](double v) { return std::isfinite(v); });
}

std::string JoinList(const std::vector<std::string>& names) {
    return fmt::format("{}", fmt::join(names, ", "));
}

double ParseArgument(std::string_view text) {
    const std::optional<double> value = ParseNumber(text);
    if (!value || !std::isfinite(*value)) throw ValueError(Quote(text) + " is not a number");
    return *value;
}

std::vector<std::string> SpreadList(std::string_view option, std::string_view list, std::size_t count) {
    std::vector<std::string> pieces = SplitList(list);
    if (pieces.size() == 1) pieces.resize(count, pieces.front());
    if (pieces.size() != count) {
        throw Error(ErrorKind::kBadValue,
                    fmt::format("{} gives {} for {}", option, Count(std::ssize(pieces), "value"),
                                Count(static_cast<long long>(count), "channel")));
    }
    return pieces;
}

}  // namespace kvx::tool
