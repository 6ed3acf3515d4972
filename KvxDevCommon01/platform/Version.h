// SPDX-License-Identifier: MIT
//
// The version of the library, in the headers that a program is compiled with. CMake's and pkg-config's
// packages, the headers of data files and the tool take it from here.
#pragma once

#include <string_view>

namespace kvx {

/// Major, minor and patch number, each below 256.
inline constexpr std::string_view kVersion = "23.0.0";

}  // namespace kvx
