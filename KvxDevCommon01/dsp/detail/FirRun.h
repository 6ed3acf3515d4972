// SPDX-License-Identifier: MIT
//
// FIR filters at work: one class for each thing that CMatFir does with the sampling rate, and one for filters
// that only delay.
#pragma once

#include <KvxDevCommon01/dsp/MatFir.h>
#include <KvxDevCommon01/dsp/SampleQueue.h>
#include <KvxDevCommon01/platform/Types.h>

#include <memory>
#include <span>

namespace kvx {

/// What a filter does, besides its coefficients.
struct FirMode {
    CMatFir::RATE_CONV rate = CMatFir::RATE_NONE;
    __int64 ratio = 1;
    bool isDelayOnly = false;

    bool operator==(const FirMode&) const = default;
};

class FirRun {
public:
    virtual ~FirRun() = default;
    FirRun& operator=(const FirRun&) = delete;

    /// Starts from rest with as many coefficients as before; allocates nothing.
    virtual void Reset(std::span<const double> coef) = 0;
    /// Puts the results of `count` samples into the queue; false when results were lost.
    virtual bool Feed(const double* x, __int64 count, SampleQueue* results) = 0;
    virtual std::unique_ptr<FirRun> Clone() const = 0;

protected:
    FirRun() = default;
    FirRun(const FirRun&) = default;
};

/// The filter of one or more coefficients, the first for the oldest sample, at rest. Throws std::bad_alloc.
std::unique_ptr<FirRun> MakeFirRun(const FirMode& mode, std::span<const double> coef);

}  // namespace kvx
