// SPDX-License-Identifier: MIT
//
// Channels chosen by a text.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kvx {

/// 0-based positions of the chosen channels, in the order of the choice: a comma list of names, 1-based
/// numbers and ranges "2-4"; empty chooses all. Throws Error for a channel that is not there or chosen twice.
std::vector<std::size_t> ChannelPositions(std::string_view choice, const std::vector<std::wstring>& names);

}  // namespace kvx
