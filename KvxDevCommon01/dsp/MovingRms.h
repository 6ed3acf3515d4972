// SPDX-License-Identifier: MIT
//
// The rms over a window that moves along a signal of any length:
//   r[k] = sqrt(1/W sum of x[i]^2, i = k S ... k S + W - 1), W samples of window, a step of S samples.
// Windows that the signal does not fill give no result. Each sum is made anew, of the sums from the window's
// start to the end of a block of W samples and from there to the window's end (M. van Herk, Pattern
// Recognition Letters 13 (1992) 517): it holds no rounding of samples that have left the window, as a sum
// does from which they are taken away, and a sample costs the same whatever the window.
#pragma once

#include <cstdint>
#include <memory>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/dsp/SampleProcess.h>

namespace kvx {

struct MovingWindow {
    std::int64_t samples = 0;  ///< W, 1 or more
    std::int64_t step = 0;     ///< S, 1 or more
};

/// The window and the step in seconds as whole samples at `rateHz`, rounded to the nearest; a step of 0 is
/// the window. Throws Error (kBadValue) for a window or step below half a sample, for what is not finite, and
/// for more than 2^40 samples.
KVX_API MovingWindow MovingWindowOf(double windowSeconds, double stepSeconds, double rateHz);

/// The results that `samples` samples give.
KVX_API std::int64_t CountMoving(const MovingWindow& window, std::int64_t samples);

/// A process with one result per step. Throws Error (kBadValue) for values outside the ranges above, and
/// std::bad_alloc.
KVX_API std::unique_ptr<SampleProcess> MakeMovingRms(const MovingWindow& window);

}  // namespace kvx
