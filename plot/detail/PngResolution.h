// SPDX-License-Identifier: MIT
//
// The resolution of a PNG, which Cairo does not write.
#pragma once

#include <string>

namespace kvx::plot {

/// Puts a pHYs chunk behind the header of a PNG that has none.
void SetPngResolution(double pixelsPerInch, std::string* png);

}  // namespace kvx::plot
