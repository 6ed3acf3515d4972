// SPDX-License-Identifier: MIT
//
// One CMatMrf cascade per channel of a multi-channel stream: what CMatMrfMtx and CMatMrfRateCnv share. The
// channels are the cells of a matrix, row by row; all change their rate alike and move in step. Not
// thread-safe.
#pragma once

#include <cstddef>
#include <memory>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/data/DataMatrix.h>
#include <KvxDevCommon01/dsp/MatMrf.h>
#include <KvxDevCommon01/platform/Types.h>

namespace kvx {

class KVX_API MrfChannels {
public:
    MrfChannels() = default;
    MrfChannels(const MrfChannels& other);
    MrfChannels(MrfChannels&& other) noexcept;
    ~MrfChannels();
    /// Copies carry the state of every channel. When an allocation fails there are no channels, or the
    /// one concerned starts anew or does nothing, as CMatFir says.
    MrfChannels& operator=(const MrfChannels& other);
    MrfChannels& operator=(MrfChannels&& other) noexcept;

    /// As CMatMrf::SetConvCond for rows x cols channels. On failure, also for a count below 1, there are no
    /// channels: then input fails and there are no results.
    int SetConvCond(CMatFir::RATE_CONV mode, CMatMrf::OVS_RAT code, __int64 rows, __int64 cols,
                    __int64 outBufSize, int delayOnly);
    /// As CMatMrf::GetConvCond; without channels no rate change, code 0 and size 0.
    CMatFir::RATE_CONV GetConvCond(CMatMrf::OVS_RAT* code, __int64* outBufSize) const;
    __int64 GetNumRow() const { return shape_.rows; }
    __int64 GetNumCol() const { return shape_.cols; }

    /// Starts all channels from rest, without results. Fails without channels.
    int InitData();
    /// Discards the results that wait. Fails without channels.
    int ClearResult();

    /// Results that wait in each channel.
    __int64 GetNumOutputData() const;
    /// CMatMrf::GetDelay, the same for all channels; 0 without channels.
    double GetDelay() const;

protected:
    __int64 GetNumChannels() const { return shape_.cells; }
    CMatMrf& Channel(__int64 index) const { return channels_[static_cast<std::size_t>(index)]; }
    /// Whether there are channels and `block` has a cell for each, all of its sample count.
    bool Fits(const CDataArrayMtxDouble& block) const;
    /// The cell of a channel in such a block.
    CDataArrayDouble* CellOf(const CDataArrayMtxDouble& block, __int64 channel) const {
        return block.GetArrayPtr(channel / shape_.cols, channel % shape_.cols);
    }
    /// Calls action(channel, index) for every channel; returns 0 without channels or when one call did.
    template <class Action>
    int ForEach(Action action) const {
        int done = GetNumChannels() > 0 ? 1 : 0;
        for (__int64 i = 0; i < GetNumChannels(); ++i) done &= action(Channel(i), i);
        return done;
    }

private:
    /// Makes rows x cols channels without a cascade; none for a count below 1 and when an allocation fails.
    int Allocate(__int64 rows, __int64 cols);

    MatrixShape shape_;
    std::unique_ptr<CMatMrf[]> channels_;
};

}  // namespace kvx
