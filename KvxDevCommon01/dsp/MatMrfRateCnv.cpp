// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/MatMrfRateCnv.h>

#include <algorithm>

int CMatMrfRateCnv::SetInputDataCir(const CDataArrayMtxDouble& rings, __int64 start, __int64 num) {
    if (!Fits(rings) || num < 0) return 0;
    return ForEach([&](CMatMrf& channel, __int64 index) {
        return channel.SetInputData(*CellOf(rings, index), start, num, 1);
    });
}

__int64 CMatMrfRateCnv::GetOutputDataCir(CDataArrayMtxDouble* rings, __int64 start, __int64 num) {
    const __int64 count = std::min(num, GetNumOutputData());
    if (rings == nullptr || count < 1 || !Fits(*rings)) return 0;
    ForEach([&](CMatMrf& channel, __int64 index) {
        return channel.GetOutputData(CellOf(*rings, index), start, count, 1) == count ? 1 : 0;
    });
    return count;
}
