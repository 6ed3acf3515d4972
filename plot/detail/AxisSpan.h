// SPDX-License-Identifier: MIT
//
// Which bounds make an axis.
#pragma once

#include <string>

#include <KvxDevCommon01/graph/AxisMapping.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxPlot01/Ticks.h>

namespace kvx::plot::detail {

/// Throws Error (kBadValue) when an axis between the bounds has no ticks.
inline void RequireAxisSpan(const AxisRange& bounds) {
    const double span = bounds.high - bounds.low;
    if (span > kLeastAxisSpan && span < kMostAxisSpan) return;
    throw Error(ErrorKind::kBadValue,
                "no axis can reach from " + FormatNumber(bounds.low) + " to " + FormatNumber(bounds.high));
}

}  // namespace kvx::plot::detail
