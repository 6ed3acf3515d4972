// SPDX-License-Identifier: MIT
//
// The integer names of the interface, with one meaning on every platform: where the interface speaks of a
// 64-bit count it is `__int64`, a 32-bit `long` is std::int32_t, an `unsigned long` is std::uint32_t, a truth
// value is `BOOL`.
#pragma once

#include <cstdint>

#ifndef _MSC_VER
/// Signed 64-bit integer of counts and indices; MSVC has it built in.
using __int64 = std::int64_t;
#endif

/// Truth value of the interface: 0 is failure or "no", anything else success or "yes".
using BOOL = int;

/// Unsigned 8-bit integer.
using BYTE = std::uint8_t;
