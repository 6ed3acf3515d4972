// SPDX-License-Identifier: MIT
//
// How long work tells how far it has come.
#pragma once

#include <cstdint>
#include <functional>

namespace kvx {

/// Called now and then with how many of `total` pieces are done, on the thread that does the work; empty when
/// nobody wants to know.
using ProgressFunction = std::function<void(std::uint64_t done, std::uint64_t total)>;

}  // namespace kvx
