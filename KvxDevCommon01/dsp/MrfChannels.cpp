// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/MrfChannels.h>

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

namespace kvx {

MrfChannels::MrfChannels(const MrfChannels& other) {
    *this = other;
}

MrfChannels::MrfChannels(MrfChannels&& other) noexcept {
    *this = std::move(other);
}

MrfChannels::~MrfChannels() = default;

MrfChannels& MrfChannels::operator=(const MrfChannels& other) {
    if (this != &other && Allocate(other.shape_.rows, other.shape_.cols)) {
        ForEach([&](CMatMrf& channel, __int64 index) {
            channel = other.Channel(index);
            return 1;
        });
    }
    return *this;
}

MrfChannels& MrfChannels::operator=(MrfChannels&& other) noexcept {
    std::swap(shape_, other.shape_);
    std::swap(channels_, other.channels_);
    return *this;
}

int MrfChannels::Allocate(__int64 rows, __int64 cols) {
    constexpr auto kMost = static_cast<__int64>(std::numeric_limits<std::ptrdiff_t>::max() / sizeof(CMatMrf));
    shape_ = {};
    channels_.reset();
    if (rows < 1 || cols < 1 || rows > kMost / cols) return 0;
    channels_.reset(new (std::nothrow) CMatMrf[static_cast<std::size_t>(rows * cols)]);
    if (!channels_) return 0;
    shape_ = {rows, cols, rows * cols};
    return 1;
}

int MrfChannels::SetConvCond(CMatFir::RATE_CONV mode, CMatMrf::OVS_RAT code, __int64 rows, __int64 cols,
                             __int64 outBufSize, int delayOnly) {
    if (!Allocate(rows, cols)) return 0;
    for (__int64 i = 0; i < GetNumChannels(); ++i) {
        if (!Channel(i).SetConvCond(mode, code, outBufSize, delayOnly)) {
            Allocate(0, 0);
            return 0;
        }
    }
    return 1;
}

CMatFir::RATE_CONV MrfChannels::GetConvCond(CMatMrf::OVS_RAT* code, __int64* outBufSize) const {
    if (GetNumChannels() > 0) return Channel(0).GetConvCond(code, outBufSize);
    if (code != nullptr) *code = CMatMrf::OVS_RAT_1;
    if (outBufSize != nullptr) *outBufSize = 0;
    return CMatFir::RATE_NONE;
}

int MrfChannels::InitData() {
    return ForEach([](CMatMrf& channel, __int64) { return channel.InitData(); });
}

int MrfChannels::ClearResult() {
    return ForEach([](CMatMrf& channel, __int64) { return channel.ClearResult(); });
}

__int64 MrfChannels::GetNumOutputData() const {
    return GetNumChannels() > 0 ? Channel(0).GetNumOutputData() : 0;
}

double MrfChannels::GetDelay() const {
    return GetNumChannels() > 0 ? Channel(0).GetDelay() : 0.0;
}

bool MrfChannels::Fits(const CDataArrayMtxDouble& block) const {
    if (GetNumChannels() == 0 || block.GetNumRow() != shape_.rows || block.GetNumCol() != shape_.cols)
        return false;
    return ForEach([&](CMatMrf&, __int64 index) {
               return CellOf(block, index)->GetNum() == block.GetNum() ? 1 : 0;
           }) != 0;
}

}  // namespace kvx
