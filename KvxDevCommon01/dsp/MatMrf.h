// SPDX-License-Identifier: MIT
//
// CMatMrf: changes the sampling rate of a stream by a whole ratio up to 500, in either direction, by a
// cascade of CMatFir stages. Input goes in sample by sample or in blocks of any length, results wait in a
// buffer until they are taken; they are the same bits however the input is cut. The band that passes ends at
// the lower rate divided by 2.56. Operations return 1 for success and 0 for failure and never throw; nothing
// is allocated after SetConvCond. Copies carry the whole state. Not thread-safe.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/dsp/MatFir.h>
#include <KvxDevCommon01/platform/Types.h>

class KVX_API CMatMrf {
public:
    /// The ratios, by their codes.
    enum OVS_RAT : std::int32_t {
        // clang-format off
        OVS_RAT_UNKNOWN = -1,
        OVS_RAT_1   =  0, OVS_RAT_2   =  1, OVS_RAT_4   =  2, OVS_RAT_5   =  3,
        OVS_RAT_8   =  4, OVS_RAT_10  =  5, OVS_RAT_16  =  6, OVS_RAT_20  =  7,
        OVS_RAT_25  =  8, OVS_RAT_32  =  9, OVS_RAT_40  = 10, OVS_RAT_50  = 11,
        OVS_RAT_80  = 12, OVS_RAT_100 = 13, OVS_RAT_160 = 14, OVS_RAT_200 = 15,
        OVS_RAT_250 = 16, OVS_RAT_320 = 17, OVS_RAT_400 = 18, OVS_RAT_500 = 19,
        // clang-format on
    };

    /// The ratio of a code; 0 for an unknown one.
    static std::int32_t ConvCodeToOvsRat(OVS_RAT code);
    /// The code of a ratio; -1 for one that has none.
    static OVS_RAT ConvOvsRatToCode(std::int32_t ratio);

    /// Builds the cascade and starts it from rest. `mode` 0 means ratio 1, at which samples pass unchanged;
    /// `outBufSize` >= 1 results may wait; with `delayOnly` not 0 samples are delayed as the filters would
    /// delay them, but not filtered. For an unknown code, a size below 1 and when an allocation fails
    /// it fails and leaves no stages: then input fails and there are no results.
    int SetConvCond(CMatFir::RATE_CONV mode, OVS_RAT code, __int64 outBufSize, int delayOnly);
    /// The conditions as they were set: code and size unless null, and the mode.
    CMatFir::RATE_CONV GetConvCond(OVS_RAT* code, __int64* outBufSize) const;

    /// Starts all stages from rest, without results. Fails without stages.
    int InitData();
    /// Discards the results that wait. Fails without stages.
    int ClearResult();

    // Input. Each form returns 0 when results were lost because more waited than the buffer holds (the
    // newest stay), and without stages. The range forms feed `num` samples on from `start` of a ring of
    // `ringLength` >= 1 samples: a start below 0 counts from the ring's end, one beyond it wraps. With
    // `isRing` 0 the array is no ring and the range must lie within it. They fail without feeding anything
    // for a null pointer, a negative count or no ring.
    int SetInputData(double x);
    int SetInputData(const double* data, __int64 start, __int64 num, __int64 ringLength);
    int SetInputData(const CDataArrayDouble& data, __int64 start, __int64 num, int isRing);
    int SetInputDataLong(std::int32_t x);
    int SetInputDataLong(const std::int32_t* data, __int64 start, __int64 num, __int64 ringLength);
    int SetInputDataLong(const CDataArrayLong& data, __int64 start, __int64 num, int isRing);

    // Results. The single forms give 0 when none waits. The range forms take `num`, at most all that wait,
    // write them to a ring as above and return how many these were. With `isRing` 0 the array ends behind
    // them: 0 <= start <= its count. They return 0, taking nothing, for a null pointer, num < 1, no ring and
    // when an allocation fails. Integers are rounded as by CMatFir.
    double GetOutputData();
    __int64 GetOutputData(double* out, __int64 start, __int64 num, __int64 ringLength);
    __int64 GetOutputData(CDataArrayDouble* out, __int64 start, __int64 num, int isRing);
    std::int32_t GetOutputDataLong();
    __int64 GetOutputDataLong(std::int32_t* out, __int64 start, __int64 num, __int64 ringLength);
    __int64 GetOutputDataLong(CDataArrayLong* out, __int64 start, __int64 num, int isRing);
    /// Results that wait.
    __int64 GetNumOutputData() const;

    /// The sum over the stages, in the order in which they work, of a stage's delay divided by the product of
    /// the factors up to and including its own. Interpolating this is the delay of the cascade in input
    /// samples; decimating it is a figure of its own, and kvx::CascadeDelay tells the time.
    double GetDelay() const { return delay_; }

private:
    int Feed(const double* x, __int64 n);
    int FeedLong(const std::int32_t* x, __int64 n);
    std::span<CMatFir> Stages() { return std::span(stages_).first(static_cast<std::size_t>(stageCount_)); }
    CMatFir& LastStage() { return Stages().back(); }

    CMatFir::RATE_CONV mode_ = CMatFir::RATE_NONE;
    OVS_RAT code_ = OVS_RAT_1;
    __int64 outBufSize_ = 1024;
    double delay_ = 0.0;
    __int64 feedSize_ = 1024;  // samples that go in at once
    int stageCount_ = 0;
    std::array<CMatFir, 4> stages_;  // in the order in which they work
};

namespace kvx {

/// The delay of a cascade in samples of the higher of its two rates, a whole number; 0 for an unknown code.
/// Interpolating by R, input sample k stands at result k R + CascadeDelay. Decimating by R, result k comes
/// with input sample k R + R - 1 and shows what happened CascadeDelay input samples before that.
KVX_API __int64 CascadeDelay(CMatMrf::OVS_RAT code);

}  // namespace kvx
