// SPDX-License-Identifier: MIT
//
// The windows of the suite by name, and what a window does to the lines of a spectrum. CMatWIND has their
// formulas.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/Export.h>

namespace kvx {

/// "hann", "rectangular", "hamming" and so on, the usual one first.
KVX_API std::vector<std::string> WindowNames();

/// `size` samples of the window of that name, or of one it is also known by: "flattop", "hanning", "boxcar".
/// Throws Error: kUnknownName for a name that is none of these,
/// kBadValue for a size below 1.
KVX_API std::vector<double> MakeWindow(std::string_view name, std::int64_t size);

/// The equivalent noise bandwidth of a window of N samples, N sum w^2 / (sum w)^2, in lines: how many times
/// the power of a sine the lines around it hold together. Throws Error (kBadValue) for a window whose sum is
/// 0, the empty one among them.
KVX_API double NoiseBandwidth(std::span<const double> window);

}  // namespace kvx
