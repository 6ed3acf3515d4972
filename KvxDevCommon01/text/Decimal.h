// SPDX-License-Identifier: MIT
//
// Doubles as decimal digits, fast enough for tables of any length: the shortest ones that read back as the
// same double, and so many as every decimal number keeps that becomes a double and a decimal number again.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include <KvxDevCommon01/Export.h>

namespace kvx {

/// digits * 10^exponent, up to 17 digits, of which the last may be zeros.
struct Decimal {
    std::uint64_t digits = 0;
    int exponent = 0;
    bool isNegative = false;
};

/// So many significant digits of a decimal number survive being a double.
inline constexpr int kSafeDigits = 15;

/// The shortest decimal that is nearer to a value than to any other double, of those the one nearest to it.
/// The value is finite.
KVX_API Decimal ShortestDecimal(double value);

/// A double, given its shortest decimal, to kSafeDigits significant digits; no value for one that may lie in
/// the middle between two of them, and for magnitudes beyond 1e-290 and 1e290.
KVX_API std::optional<Decimal> SafeDecimal(const Decimal& shortest);

/// The nearest double; no value where that takes more than one exact step: for more than 2^53 in digits, and
/// exponents beyond -22 and 22.
KVX_API std::optional<double> ValueOf(const Decimal& decimal);

/// What the functions below write at most, and may use as room.
inline constexpr std::size_t kDecimalRoom = 64;

/// Writes what std::to_chars writes of a value, the shortest text that reads back as the same double, and
/// returns its end.
KVX_API char* WriteExact(char* text, double value);

/// Writes a decimal of up to kSafeDigits digits as std::to_chars does in the general format: with an exponent
/// when that is below -4, or above what so many digits reach.
KVX_API char* WriteSafe(char* text, const Decimal& decimal);

}  // namespace kvx
