// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/FortranNumber.h>

#include <cstddef>

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

}  // namespace kvx
