// SPDX-License-Identifier: MIT
//
// Which samples of a series a plot has to draw. Pure functions, safe from any thread.
#pragma once

#include <optional>
#include <span>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/graph/AxisMapping.h>
#include <KvxDevCommon01/platform/Types.h>

namespace kvx {

struct IndexRange {
    __int64 first = 0;
    __int64 count = 0;

    bool operator==(const IndexRange&) const = default;
};

/// The samples that `shown` takes, of `values` where sample i lies at `start` + i * `interval`, with those
/// just outside that the line comes from or goes to. Samples that are the no-value marker are left out at
/// both ends. No value when none is left, for the interval 0 and for bounds that are no numbers.
KVX_API std::optional<IndexRange> FindVisibleRange(const AxisRange& shown, double start, double interval,
                                                   std::span<const double> values);

/// The same with an ascending X value for each sample; only as many samples as there are X values count.
KVX_API std::optional<IndexRange> FindVisibleRange(const AxisRange& shown, std::span<const double> xValues,
                                                   std::span<const double> values);

}  // namespace kvx
