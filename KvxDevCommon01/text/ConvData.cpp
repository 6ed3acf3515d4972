// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/text/ConvData.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include <KvxDevCommon01/platform/Locale.h>

namespace {

constexpr double kNoValue = std::numeric_limits<double>::lowest();
constexpr std::string_view kNoValueText = "---";

constexpr int kDefaultPrecision = 6;  ///< of a conversion that states none
constexpr int kExact = -1;            ///< as many hexadecimal digits as the value has

/// One conversion of a format; by itself the default one.
struct Conversion {
    bool left = false;
    bool plus = false;
    bool blank = false;
    bool alternate = false;  ///< always a decimal sign, and 'g' keeps its trailing zeros
    bool zeros = false;
    bool capitals = false;
    int width = 0;
    int precision = 7;
    char style = 'g';
};

struct Flag {
    wchar_t sign;
    bool Conversion::*member;
};

constexpr auto kFlags = std::to_array<Flag>({
    {L'-', &Conversion::left},
    {L'+', &Conversion::plus},
    {L' ', &Conversion::blank},
    {L'#', &Conversion::alternate},
    {L'0', &Conversion::zeros},
});

struct Format {
    std::wstring before;
    Conversion conversion;
    std::wstring after;
};

/// The digits at the start of `rest`, which is left behind them; 0 without one, no value above `limit`.
std::optional<int> TakeNumber(std::wstring_view& rest, int limit) {
    int number = 0;
    while (!rest.empty() && rest.front() >= L'0' && rest.front() <= L'9') {
        number = number * 10 + (rest.front() - L'0');
        if (number > limit) return std::nullopt;
        rest.remove_prefix(1);
    }
    return number;
}

bool TakeCharacter(std::wstring_view& rest, wchar_t wanted) {
    if (!rest.starts_with(wanted)) return false;
    rest.remove_prefix(1);
    return true;
}

void TakeFlags(std::wstring_view& rest, Conversion& conversion) {
    const auto takesFlag = [&](const Flag& flag) {
        const bool isTaken = TakeCharacter(rest, flag.sign);
        if (isTaken) conversion.*flag.member = true;
        return isTaken;
    };
    while (std::ranges::any_of(kFlags, takesFlag)) {
    }
}

/// What stands behind a '%'.
std::optional<Conversion> TakeConversion(std::wstring_view& rest) {
    Conversion conversion;
    TakeFlags(rest, conversion);
    const std::optional<int> width = TakeNumber(rest, CConvData::kMaxWidth);
    const bool statesPrecision = width && TakeCharacter(rest, L'.');
    const std::optional<int> precision = TakeNumber(rest, CConvData::kMaxPrecision);
    if (!width || !precision) return std::nullopt;
    TakeCharacter(rest, L'l');
    const std::size_t style = std::wstring_view(L"efgaEFGA").find(rest.empty() ? L'\0' : rest.front());
    if (style == std::wstring_view::npos) return std::nullopt;
    rest.remove_prefix(1);

    conversion.width = *width;
    conversion.style = "efga"[style % 4];
    conversion.capitals = style >= 4;
    conversion.precision = statesPrecision           ? *precision
                           : conversion.style == 'a' ? kExact
                                                     : kDefaultPrecision;
    return conversion;
}

std::optional<Format> ParseFormat(std::wstring_view rest) {
    Format format;
    bool isConverted = false;
    while (!rest.empty()) {
        std::wstring& literal = isConverted ? format.after : format.before;
        const wchar_t c = rest.front();
        rest.remove_prefix(1);
        if (c != L'%' || TakeCharacter(rest, L'%')) {
            literal += c;
            continue;
        }
        const std::optional<Conversion> conversion = TakeConversion(rest);
        if (!conversion || isConverted) return std::nullopt;
        format.conversion = *conversion;
        isConverted = true;
    }
    return isConverted ? std::optional(format) : std::nullopt;
}

std::string Digits(double magnitude, std::chars_format form, int precision) {
    // Whole digits, the decimal point, the digits behind it; an exponent only makes it shorter.
    std::array<char, std::numeric_limits<double>::max_exponent10 + 2 + CConvData::kMaxPrecision> buffer;
    char* const end = buffer.data() + buffer.size();
    const auto result = precision == kExact ? std::to_chars(buffer.data(), end, magnitude, form)
                                            : std::to_chars(buffer.data(), end, magnitude, form, precision);
    return std::string(buffer.data(), result.ptr);
}

/// The style 'g' with its trailing zeros kept.
std::string AllGeneralDigits(double magnitude, int precision) {
    const int digits = std::max(precision, 1);
    std::string text = Digits(magnitude, std::chars_format::scientific, digits - 1);
    const int exponent = std::stoi(text.substr(text.find('e') + 1));
    if (exponent < -4 || exponent >= digits) return text;
    return Digits(magnitude, std::chars_format::fixed, digits - 1 - exponent);
}

/// The digits of a finite value without sign, in small letters and with a point.
std::string Magnitude(double magnitude, const Conversion& conversion) {
    const int precision = conversion.precision;
    std::string text;
    switch (conversion.style) {
        case 'e':
            text = Digits(magnitude, std::chars_format::scientific, precision);
            break;
        case 'f':
            text = Digits(magnitude, std::chars_format::fixed, precision);
            break;
        case 'a':
            text = Digits(magnitude, std::chars_format::hex, precision);
            break;
        default:
            text = conversion.alternate ? AllGeneralDigits(magnitude, precision)
                                        : Digits(magnitude, std::chars_format::general, precision);
            break;
    }
    if (conversion.alternate && text.find('.') == text.npos) {
        text.insert(std::min(text.find(conversion.style == 'a' ? 'p' : 'e'), text.size()), 1, '.');
    }
    return text;
}

bool ShowsZero(std::string_view digits, char style) {
    return digits.substr(0, digits.find(style == 'a' ? 'p' : 'e')).find_first_not_of("0.") == digits.npos;
}

/// The value in its field.
std::wstring Convert(double value, const Conversion& conversion, wchar_t decimalSign) {
    const bool isNumber = std::isfinite(value) && value != kNoValue;
    const bool isSigned = isNumber || std::isinf(value);
    std::string digits = isNumber            ? Magnitude(std::abs(value), conversion)
                         : value == kNoValue ? std::string(kNoValueText)
                         : std::isinf(value) ? "inf"
                                             : "nan";
    std::string prefix;
    if (isSigned) {
        const bool isNegative = value < 0.0 && !(isNumber && ShowsZero(digits, conversion.style));
        prefix = isNegative ? "-" : conversion.plus ? "+" : conversion.blank ? " " : "";
    }
    if (isNumber && conversion.style == 'a') prefix += "0x";

    const std::size_t width = static_cast<std::size_t>(conversion.width);
    const std::size_t missing = width - std::min(prefix.size() + digits.size(), width);
    const bool fillsWithZeros = conversion.zeros && !conversion.left && isNumber;
    std::string field = prefix + std::string(fillsWithZeros ? missing : 0, '0') + digits;
    if (!fillsWithZeros) field.insert(conversion.left ? field.size() : 0, missing, ' ');

    std::wstring text;
    for (const char c : field) {
        const bool becomesCapital = conversion.capitals && c >= 'a' && c <= 'z';
        const char shown = becomesCapital ? static_cast<char>(c - 'a' + 'A') : c;
        text += c == '.' ? decimalSign : static_cast<wchar_t>(shown);
    }
    return text;
}

}  // namespace

int CConvData::StrToIntW(const wchar_t* text) {
    if (text == nullptr) return 0;
    std::wstring_view rest = text;
    rest.remove_prefix(std::min(rest.find_first_not_of(L" \t\n\v\f\r"), rest.size()));

    const bool negative = rest.starts_with(L'-');
    if (negative || rest.starts_with(L'+')) rest.remove_prefix(1);

    // The magnitude of the lower limit is one more than that of the upper one; no sum gets far beyond either.
    constexpr std::int64_t upper = std::numeric_limits<int>::max();
    const std::int64_t limit = negative ? upper + 1 : upper;
    std::int64_t magnitude = 0;
    for (const wchar_t c : rest) {
        if (c < L'0' || c > L'9') break;
        magnitude = std::min(magnitude * 10 + (c - L'0'), limit);
    }
    return static_cast<int>(negative ? -magnitude : magnitude);
}

bool kvx::IsNumberFormat(std::wstring_view format) {
    return ParseFormat(format).has_value();
}

int CConvData::ValToStr(double value, CString* text, const wchar_t* format, const char* locale) {
    if (text == nullptr) return 0;
    const Format used = ParseFormat(format != nullptr ? format : L"").value_or(Format{});
    *text = used.before + Convert(value, used.conversion, kvx::DecimalSign(locale)) + used.after;
    return 1;
}
