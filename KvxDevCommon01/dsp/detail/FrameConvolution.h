// SPDX-License-Identifier: MIT
//
// CMatBasic::SelectWave and CMatBasic::CoreMultiFrame on raw blocks, for signals that are not in an array.
#pragma once

#include <KvxDevCommon01/dsp/MatBasic.h>

namespace kvx {

/// Fills `out` with `outCount` samples of the signal `in` of `count` >= 1 samples from index `start` on.
/// Fails for an unknown `term`; pointers and counts are the caller's care.
int SelectSamples(double* out, __int64 outCount, const double* in, __int64 count, __int64 start,
                  CMatBasic::DATA_TERM term);

/// The `outCount` >= 1 samples of the stream of CoreMultiFrame from `skip` on. Fails as that; pointers and
/// counts are the caller's care.
int ConvolveFrames(double* out, __int64 outCount, const double* in, __int64 count, __int64 blockSize,
                   const CDataArrayDoubleCplx& response, CMatBasic::DATA_TERM term, __int64 start,
                   __int64 skip);

}  // namespace kvx
