// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/TextNumbers.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string>
#include <system_error>

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxRecording01/detail/HeaderText.h>

namespace kvx {
namespace {

constexpr std::string_view kMinusSign = "\u2212";  // as typesetters and some spreadsheets write it
constexpr const char* kNoNumber = "is not a number";
constexpr const char* kNotFinite = "is not a finite number";
constexpr std::string_view kDigits = "0123456789";
constexpr std::string_view kExponentMarks = "eEdDqQ";

/// Where the exponent of a number begins, with its mark where it has one; the size of the field without one.
std::size_t ExponentAt(std::string_view field) {
    return std::min(field.find_first_of("eEdDqQ+-", 1), field.size());
}

/// A number as a Fortran program writes it, with the exponent that others write; empty for any other text.
/// Without a point or a sign "1D5" is a name, and without a point "1-10" is a range.
std::string WithUsualExponent(std::string_view field) {
    const std::size_t at = ExponentAt(field);
    if (at == field.size()) return {};
    const std::string_view mantissa = field.substr(0, at);
    std::string_view exponent = field.substr(at);
    const bool isMarked = kExponentMarks.find(exponent.front()) != std::string_view::npos;
    const bool hasPoint = mantissa.find('.') != std::string_view::npos;
    if (isMarked) exponent.remove_prefix(1);
    const std::size_t sign = exponent.starts_with('+') || exponent.starts_with('-') ? 1 : 0;
    const std::string_view digits = exponent.substr(sign);
    if (digits.empty() || digits.size() > 3 || digits.find_first_not_of(kDigits) != digits.npos) return {};
    if (!hasPoint && (!isMarked || sign == 0)) return {};
    if (!isMarked && digits.size() < 2) return {};
    return std::string(mantissa) + 'e' + std::string(exponent);
}

/// The parts of a field that is written as a complex number.
struct ComplexParts {
    std::string_view real;       ///< empty for 0
    std::string_view imaginary;  ///< without the sign in front of it; empty for 1
    bool isNegative = false;     ///< the imaginary part, by the sign in front of it
};

bool IsImaginaryUnit(char c) {
    return c == 'j' || c == 'i' || c == 'J' || c == 'I';
}

/// The parts of "1.5+2j", "1.5-j2" or "2j".
std::optional<ComplexParts> SplitSum(std::string_view text) {
    if (text.empty()) return std::nullopt;
    const bool isBehind = IsImaginaryUnit(text.back());
    if (isBehind) text = Trim(text.substr(0, text.size() - 1));
    if (isBehind && text.ends_with('*')) text = Trim(text.substr(0, text.size() - 1));
    ComplexParts parts;
    for (std::size_t at = text.size(); at-- > 0;) {
        if (text[at] != '+' && text[at] != '-') continue;
        if (at > 0 && kExponentMarks.find(text[at - 1]) != std::string_view::npos) continue;
        parts = {Trim(text.substr(0, at)), Trim(text.substr(at + 1)), text[at] == '-'};
        break;
    }
    if (parts.real.empty() && parts.imaginary.empty()) parts.imaginary = text;
    if (isBehind) return parts;
    if (parts.imaginary.empty() || !IsImaginaryUnit(parts.imaginary.front())) return std::nullopt;
    parts.imaginary = Trim(parts.imaginary.substr(1));
    if (parts.imaginary.starts_with('*')) parts.imaginary = Trim(parts.imaginary.substr(1));
    return parts;
}

std::optional<ComplexParts> SplitComplex(std::string_view field) {
    field = Unquoted(field);
    if (field.size() < 2 || field.front() != '(' || field.back() != ')') return SplitSum(field);
    field = Trim(field.substr(1, field.size() - 2));
    if (const std::optional<ComplexParts> sum = SplitSum(field)) return sum;
    const std::size_t at = field.find_first_of(",; \t");
    if (at == std::string_view::npos) return std::nullopt;
    std::string_view second = Trim(field.substr(at));
    if (second.starts_with(',') || second.starts_with(';')) second = Trim(second.substr(1));
    if (at == 0 || second.empty()) return std::nullopt;
    return ComplexParts{field.substr(0, at), second};
}

}  // namespace

MissingTexts::MissingTexts(const TextOptions& options) : areStated_(options.missing.has_value()) {
    if (!areStated_) return;
    for (const std::string& text : *options.missing) {
        texts_.push_back(SmallLetters(Trim(text)));
        if (const std::optional<double> number = NumberReader().Read(texts_.back()))
            numbers_.push_back(*number);
    }
}

bool MissingTexts::Include(std::string_view field) const {
    if (!areStated_) return false;
    field = Unquoted(field);
    if (field.empty()) return true;
    return std::ranges::any_of(texts_, [&](const std::string& text) {
        return text.size() == field.size() && text == SmallLetters(field);
    });
}

bool MissingTexts::Include(double value) const {
    return std::ranges::find(numbers_, value) != numbers_.end();
}

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
    std::from_chars_result result = std::from_chars(field.data(), field.data() + field.size(), value);
    std::string usual;
    if (result.ptr != field.data() + field.size() && !(usual = WithUsualExponent(field)).empty()) {
        field = usual;
        result = std::from_chars(field.data(), field.data() + field.size(), value);
    }
    if (field.empty() || result.ptr != field.data() + field.size()) {
        fault_ = kNoNumber;
        return std::nullopt;
    }
    const bool isOutOfRange = result.ec == std::errc::result_out_of_range;
    // Too small a number is the nearest double all the same; from_chars leaves it out.
    if (isOutOfRange) value = std::strtod(std::string(field).c_str(), nullptr);
    if (!std::isfinite(value)) {
        fault_ = isOutOfRange ? "is too large" : kNotFinite;
        return std::nullopt;
    }
    if (value == kNoValue<double>) {
        fault_ = "is reserved as the marker of missing samples";
        return std::nullopt;
    }
    if (marks_.AreBoth()) {
        fault_ = "has another decimal mark than the numbers before it";
        return std::nullopt;
    }
    return value;
}

std::optional<std::complex<double>> NumberReader::ReadComplex(std::string_view field,
                                                              const MissingTexts& missing) {
    constexpr std::complex<double> kMissing = {kNoValue<double>, kNoValue<double>};
    if (missing.Include(field)) return kMissing;
    const std::optional<ComplexParts> parts = SplitComplex(field);
    if (!parts) {
        const std::optional<double> value = Read(field);
        if (value && missing.Include(*value)) return kMissing;
        return value ? std::optional(std::complex(*value, 0.0)) : std::nullopt;
    }
    const auto isMissing = [&](std::string_view part) { return !part.empty() && missing.Include(part); };
    if (isMissing(parts->real) || isMissing(parts->imaginary)) return kMissing;
    const std::optional<double> real = parts->real.empty() ? std::optional(0.0) : Read(parts->real);
    if (!real) return std::nullopt;
    const std::optional<double> imaginary =
        parts->imaginary.empty() ? std::optional(1.0) : Read(parts->imaginary);
    if (!imaginary) return std::nullopt;
    if (missing.Include(*real) || missing.Include(*imaginary)) return kMissing;
    return std::complex(*real, parts->isNegative ? -*imaginary : *imaginary);
}

bool NumberReader::WasNoNumber() const {
    return fault_ == kNoNumber;
}

bool NumberReader::MayMeanMissing(std::string_view field) const {
    constexpr std::array<std::string_view, 11> kCustomary = {"na",  "n/a", "#n/a", "nodata", "null", "none",
                                                             "nil", "-",   "--",   "---",    "*"};
    return fault_ == kNotFinite ||
           std::ranges::find(kCustomary, SmallLetters(Unquoted(field))) != kCustomary.end();
}

bool HasTwoParts(std::string_view field) {
    const std::optional<ComplexParts> parts = SplitComplex(field);
    return parts && !parts->real.empty();
}

int Decimals(std::string_view field) {
    field = Unquoted(field);
    const std::size_t exponentAt = ExponentAt(field);
    int exponent = 0;
    if (exponentAt < field.size()) {
        std::string_view digits = field.substr(exponentAt);
        if (kExponentMarks.find(digits.front()) != std::string_view::npos) digits.remove_prefix(1);
        if (digits.starts_with('+')) digits.remove_prefix(1);
        std::from_chars(digits.data(), digits.data() + digits.size(), exponent);
    }
    const std::size_t mark = field.substr(0, exponentAt).find_first_of(".,");
    const int written = mark == std::string_view::npos ? 0 : static_cast<int>(exponentAt - mark - 1);
    return written - std::clamp(exponent, -400, 400);
}

}  // namespace kvx
