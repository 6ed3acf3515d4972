// SPDX-License-Identifier: MIT
//
// CMatFir: a streaming FIR filter that may decimate or interpolate by a whole ratio. Input goes in sample by
// sample or in blocks of any length, results wait in a buffer until they are taken; they are the same bits
// however the input is cut. Operations return 1 for success and 0 for failure and never throw. Nothing is
// allocated between one preparation and the next, nor by a preparation that changes no size. Copies carry the
// whole state; a copy that could not be allocated does nothing until PrepFir succeeds. Not thread-safe.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/platform/Types.h>

class KVX_API CMatFir {
public:
    CMatFir();
    CMatFir(const CMatFir& other);
    CMatFir(CMatFir&& other) noexcept;
    ~CMatFir();
    CMatFir& operator=(const CMatFir& other);
    CMatFir& operator=(CMatFir&& other) noexcept;

    /// What happens to the sampling rate.
    enum RATE_CONV : std::uint32_t {
        RATE_NONE = 0,         ///< it stays
        RATE_INTERPOLATE = 1,  ///< multiplied by the ratio
        RATE_DECIMATE = 2,     ///< divided by the ratio
    };

    /// The built-in symmetric low-pass filters, all with a DC gain within 0.1 % of 1. The long ones pass up
    /// to fs/2.56 and stop from fs (1 - 1/2.56) on, fs being the lower rate; the short ones, which come
    /// before another stage, pass up to half of that.
    enum FIR_COEF : std::uint32_t {
        FIR_COEF_2 = 0,        ///< 37 taps for a rate change by 2
        FIR_COEF_2_SHORT = 1,  ///< 13 taps for a rate change by 2
        FIR_COEF_4 = 2,        ///< 75 taps for a rate change by 4
        FIR_COEF_4_SHORT = 3,  ///< 27 taps for a rate change by 4
        FIR_COEF_5 = 4,        ///< 93 taps for a rate change by 5
        FIR_COEF_5_SHORT = 5,  ///< 33 taps for a rate change by 5
    };

    /// Takes over n >= 1 coefficients; the first meets the oldest sample. `delay` is the group delay at the
    /// rate at which the coefficients stand [samples]; one that is not a finite number above 0 means (n-1)/2.
    /// Fails without a change for a null pointer or n < 1; when an allocation fails no coefficients are left.
    int SetCoef(const double* coef, __int64 n, double delay);
    int SetCoef(const CDataArrayDouble& coef, double delay);
    /// Takes over a built-in set. With `delayOnly` not 0 the filter only delays, by as many samples as that
    /// set would: decimation picks samples, interpolation repeats each. Fails for an unknown set, without a
    /// change, and when an allocation fails.
    int SetStdCoef(FIR_COEF set, int delayOnly);
    /// Copies the coefficients unless `out` is null, and returns the group delay [samples].
    double GetCoef(CDataArrayDouble* out) const;
    double GetDelay() const { return delay_; }

    /// A ratio below 2 or an unknown mode means no rate change, which has ratio 1.
    int SetRateConv(RATE_CONV mode, __int64 ratio);
    /// The mode unless `mode` is null, and the ratio.
    __int64 GetRateConv(RATE_CONV* mode) const;

    /// Results that may wait, 1024 unless set; in force from the next preparation on. Fails without a change
    /// below 1.
    int SetOutBufSize(__int64 size);
    __int64 GetOutBufSize() const { return outBufSize_; }

    /// Makes the filter start from rest, without results. Input does so by itself after the coefficients or
    /// the rate were set. Allocates only when the number of coefficients, the rate or the size of the buffer
    /// changed since the last time: a reset does not. Fails without coefficients or when allocation fails.
    int PrepFir();

    // Input. Each form returns 0 when results were lost because more waited than the buffer holds (the
    // newest stay), when the filter cannot be prepared, or for a null pointer or a negative count.
    int SetInputData(double x);
    int SetInputData(const double* x, __int64 n);
    int SetInputData(const CDataArrayDouble& x);
    int SetInputDataLong(std::int32_t x);
    int SetInputDataLong(const std::int32_t* x, __int64 n);
    int SetInputDataLong(const CDataArrayLong& x);

    // Results. The single forms give 0 when none waits; the block forms take n, at most all that wait, and
    // return how many these were: 0 for a null pointer or n < 1. Integers are rounded to the nearest, within
    // the limits of 32 bits; not-a-number becomes 0.
    double GetOutputData();
    __int64 GetOutputData(double* out, __int64 n);
    std::int32_t GetOutputDataLong();
    __int64 GetOutputDataLong(std::int32_t* out, __int64 n);
    /// Results that wait. They stay when coefficients or rate are set, until the next preparation.
    __int64 GetNumOutputData() const;

    /// Discards the results that wait, and prepares the filter if it is not.
    int ClearResult();

private:
    friend class CMatMrf;
    struct State;
    /// As kvx::SampleQueue::TakeInPlace.
    std::span<const double> TakeInPlace();
    bool Prepare();
    int SetCoefCount(__int64 count);

    double delay_ = 0.0;
    RATE_CONV mode_ = RATE_NONE;
    __int64 ratio_ = 1;
    __int64 outBufSize_ = 1024;
    bool isDelayOnly_ = false;
    bool isPrepared_ = false;
    std::unique_ptr<State> state_;  // the coefficients, and what PrepFir sets up
};
