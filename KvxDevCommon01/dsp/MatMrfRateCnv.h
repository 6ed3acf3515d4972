// SPDX-License-Identifier: MIT
//
// CMatMrfRateCnv: changes the sampling rate of a multi-channel stream between ring buffers, as recorders keep
// them: one CMatMrf cascade per channel, the rings being the cells of a matrix, row by row. Operations return
// 1 for success and 0 for failure and never throw. Not thread-safe.
#pragma once

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/data/DataMatrix.h>
#include <KvxDevCommon01/dsp/MrfChannels.h>
#include <KvxDevCommon01/platform/Types.h>

class KVX_API CMatMrfRateCnv : public kvx::MrfChannels {
public:
    /// Feeds every channel `num` >= 0 samples on from `start` of its ring: a start below 0 counts from the
    /// ring's end, one beyond it wraps. Returns 0 when results were lost because more waited than the buffers
    /// hold (the newest stay), without channels, and, feeding nothing, for a negative count or rings that do
    /// not fit the channels.
    int SetInputDataCir(const CDataArrayMtxDouble& rings, __int64 start, __int64 num);

    /// Takes `num` results, at most all that wait, from every channel, writes them to its ring on from
    /// `start`, positions as above, and returns how many these were: the next start is `start` plus that.
    /// Returns 0, taking nothing, for a null pointer, num < 1 or rings that do not fit the channels.
    __int64 GetOutputDataCir(CDataArrayMtxDouble* rings, __int64 start, __int64 num);
};
