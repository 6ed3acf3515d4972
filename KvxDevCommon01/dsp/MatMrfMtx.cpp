// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/MatMrfMtx.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>

namespace {

constexpr __int64 kBlock = 512;  // samples of a channel that are gathered or dealt out at once
using Block = std::array<double, kBlock>;

}  // namespace

int CMatMrfMtx::SetInputData(const CDataArrayMtxDouble& block) {
    if (!Fits(block)) return 0;
    return ForEach([&](CMatMrf& channel, __int64 index) {
        return channel.SetInputData(*CellOf(block, index), 0, block.GetNum(), 0);
    });
}

int CMatMrfMtx::SetInputData(const CDataArrayDouble& snapshot) {
    if (snapshot.GetNum() != GetNumChannels()) return 0;
    return SetInputData(snapshot.GetData(), 1);
}

int CMatMrfMtx::SetInputData(const double* snapshots, __int64 num) {
    if (snapshots == nullptr || num < 0) return 0;
    return ForEach([&](CMatMrf& channel, __int64 index) {
        int kept = 1;
        for (__int64 done = 0; done < num;) {
            Block block;
            const __int64 run = std::min(num - done, kBlock);
            for (double& sample : std::span(block).first(static_cast<std::size_t>(run))) {
                sample = snapshots[LclGetIndex(index, done++)];
            }
            kept &= channel.SetInputData(block.data(), 0, run, run);
        }
        return kept;
    });
}

__int64 CMatMrfMtx::GetOutputData(CDataArrayMtxDouble* out, __int64 num) {
    const __int64 count = std::min(num, GetNumOutputData());
    if (out == nullptr || count < 1) return 0;
    if (!Fits(*out) || out->GetNum() != count) {
        if (!out->Create(GetNumRow(), GetNumCol(), count)) return 0;
    }
    ForEach([&](CMatMrf& channel, __int64 index) {
        return channel.GetOutputData(CellOf(*out, index), 0, count, 1) == count ? 1 : 0;
    });
    return count;
}

__int64 CMatMrfMtx::GetOutputData(double* snapshots, __int64 num) {
    const __int64 count = std::min(num, GetNumOutputData());
    if (snapshots == nullptr || count < 1) return 0;
    ForEach([&](CMatMrf& channel, __int64 index) {
        for (__int64 done = 0; done < count;) {
            Block block;
            const __int64 run =
                channel.GetOutputData(block.data(), 0, std::min(count - done, kBlock), kBlock);
            if (run == 0) return 0;
            for (const double sample : std::span(block).first(static_cast<std::size_t>(run))) {
                snapshots[LclGetIndex(index, done++)] = sample;
            }
        }
        return 1;
    });
    return count;
}
