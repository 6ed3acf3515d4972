// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/TextNumbers.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string>
#include <system_error>

namespace kvx {
namespace {

constexpr std::string_view kMinusSign = "\u2212";  // as typesetters and some spreadsheets write it
constexpr const char* kNoNumber = "is not a number";

}  // namespace

std::optional<double> NumberReader::Read(std::string_view field) {
    field = Unquoted(field);
    if (field.starts_with('+') && !field.starts_with("+-")) field.remove_prefix(1);
    std::array<char, 64> copy;
    if (field.starts_with(kMinusSign) && field.size() < copy.size()) {
        copy[0] = '-';
        field.remove_prefix(kMinusSign.size());
        std::ranges::copy(field, copy.begin() + 1);
        field = std::string_view(copy.data(), field.size() + 1);
    }
    std::size_t mark = field.find('.');
    if (mark != std::string_view::npos) {
        marks_.point = true;
    } else if ((mark = field.find(',')) != std::string_view::npos && field.size() < copy.size()) {
        marks_.comma = true;
        if (field.data() != copy.data()) std::ranges::copy(field, copy.begin());
        copy[mark] = '.';
        field = std::string_view(copy.data(), field.size());
    }
    double value = 0.0;
    const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), value);
    if (field.empty() || end != field.data() + field.size()) {
        fault_ = kNoNumber;
        return std::nullopt;
    }
    // Too small a number is the nearest double all the same; from_chars leaves it out.
    if (error == std::errc::result_out_of_range) value = std::strtod(std::string(field).c_str(), nullptr);
    if (!std::isfinite(value)) {
        fault_ = error == std::errc() ? "is not a finite number" : "is too large";
        return std::nullopt;
    }
    if (marks_.AreBoth()) {
        fault_ = "has another decimal mark than the numbers before it";
        return std::nullopt;
    }
    return value;
}

bool NumberReader::WasNoNumber() const {
    return fault_ == kNoNumber;
}

bool AreNumbers(const Fields& fields) {
    NumberReader numbers;
    return !fields.empty() &&
           std::ranges::all_of(fields, [&](std::string_view f) { return numbers.Read(f).has_value(); });
}

int Decimals(std::string_view field) {
    field = Unquoted(field);
    const std::size_t exponentAt = std::min(field.find_first_of("eE"), field.size());
    int exponent = 0;
    if (exponentAt < field.size()) {
        std::string_view digits = field.substr(exponentAt + 1);
        if (digits.starts_with('+')) digits.remove_prefix(1);
        std::from_chars(digits.data(), digits.data() + digits.size(), exponent);
    }
    const std::size_t mark = field.substr(0, exponentAt).find_first_of(".,");
    const int written = mark == std::string_view::npos ? 0 : static_cast<int>(exponentAt - mark - 1);
    return written - std::clamp(exponent, -400, 400);
}

}  // namespace kvx
