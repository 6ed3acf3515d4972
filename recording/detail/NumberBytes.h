// SPDX-License-Identifier: MIT
//
// Numbers as binary files hold them, as doubles.
#pragma once

#include <cstddef>
#include <span>

namespace kvx {

struct NumberType {
    enum class Kind { signedInteger, unsignedInteger, floating };

    Kind kind = Kind::floating;
    std::size_t bytes = 8;  ///< 1, 2, 4 or 8; 2, 4 or 8 of a floating one
    bool isBig = false;     ///< whether the highest byte comes first

    bool operator==(const NumberType&) const = default;
};

/// Whether the numbers are doubles as this host holds them.
bool IsHostDouble(const NumberType& type);

/// Reads as many numbers as there is room for in `to`, each `step` bytes behind the one before it, and tells
/// whether all of them are finite. Integers of 64 bits are rounded.
bool ToDoubles(const NumberType& type, const std::byte* from, std::size_t step, std::span<double> to);

}  // namespace kvx
