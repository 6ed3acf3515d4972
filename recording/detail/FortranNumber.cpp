// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/FortranNumber.h>

#include <charconv>
#include <cmath>
#include <cstddef>
#include <system_error>

#include <KvxRecording01/detail/TextFields.h>
#include <KvxRecording01/detail/TextNumbers.h>

namespace kvx {

std::string PlainExponent(std::string_view field) {
    std::string text(field);
    const std::size_t letter = text.find_first_of("eEdD");
    if (letter != std::string::npos) {
        text[letter] = 'E';
        return text;
    }
    const std::size_t sign = text.find_first_of("+-", 1);
    const auto isPartOfNumber = [](char c) { return (c >= '0' && c <= '9') || c == '.'; };
    if (sign != std::string::npos && isPartOfNumber(text[sign - 1])) text.insert(sign, 1, 'E');
    return text;
}

std::optional<double> ReadFortranNumber(std::string_view field, const char** fault) {
    NumberReader reader;
    const std::optional<double> number = reader.Read(PlainExponent(field));
    if (!number && fault != nullptr) *fault = reader.Fault();
    return number;
}

std::optional<double> FixedNumber(std::string_view field) {
    field = Trim(field);
    double value = 0.0;
    const char* const end = field.data() + field.size();
    const auto [stop, error] = std::from_chars(field.data(), end, value);
    if (error == std::errc() && stop == end && std::isfinite(value)) return value;
    const bool isNumber = field.find_first_not_of("0123456789+-.eEdD") == field.npos;
    return isNumber ? ReadFortranNumber(field) : std::nullopt;
}

}  // namespace kvx
