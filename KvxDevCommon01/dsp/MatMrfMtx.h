// SPDX-License-Identifier: MIT
//
// CMatMrfMtx: changes the sampling rate of a multi-channel stream that comes in blocks, one CMatMrf cascade
// per channel. The channels are the cells of a matrix, row by row. Operations return 1 for success and 0 for
// failure and never throw. Not thread-safe.
#pragma once

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/data/DataMatrix.h>
#include <KvxDevCommon01/dsp/MrfChannels.h>
#include <KvxDevCommon01/platform/Types.h>

class KVX_API CMatMrfMtx : public kvx::MrfChannels {
public:
    // Input. Each form returns 0 when results were lost because more waited than the buffers hold (the newest
    // stay), without channels, and, feeding nothing, for input of another shape.
    /// Every sample of every cell; the matrix has the rows and columns of this object.
    int SetInputData(const CDataArrayMtxDouble& block);
    /// One sample per channel, row by row.
    int SetInputData(const CDataArrayDouble& snapshot);
    /// `num` >= 0 interleaved snapshots.
    int SetInputData(const double* snapshots, __int64 num);

    // Results. Each form takes `num`, at most all that wait, from every channel and returns how many these
    // were: 0 for a null pointer or num < 1.
    /// Makes `out` a matrix of that many samples, re-created when it has another shape; it is left alone when
    /// nothing is taken. When an allocation fails it is empty and nothing is taken.
    __int64 GetOutputData(CDataArrayMtxDouble* out, __int64 num);
    /// Writes interleaved snapshots.
    __int64 GetOutputData(double* snapshots, __int64 num);

private:
    /// Where a channel's sample stands among interleaved snapshots.
    __int64 LclGetIndex(__int64 channel, __int64 sample) const { return sample * GetNumChannels() + channel; }
};
