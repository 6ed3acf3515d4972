// SPDX-License-Identifier: MIT
//
// Numbers as Fortran writes them: in columns, with exponents that have a D, or a sign alone.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kvx {

/// The number with an exponent that begins with E: "1.5E-100" for "1.5D-100" and "1.5-100".
std::string PlainExponent(std::string_view field);

/// The finite number that a field is; no value for any other, of which `fault` then says what is wrong.
std::optional<double> ReadFortranNumber(std::string_view field, const char** fault = nullptr);

/// The same in columns of its own, with blanks around it and a decimal point. No value for what is none, be
/// it blank or full of asterisks.
std::optional<double> FixedNumber(std::string_view field);

}  // namespace kvx
