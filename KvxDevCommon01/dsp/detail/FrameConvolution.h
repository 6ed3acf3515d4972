// SPDX-License-Identifier: MIT
//
// Convolution by overlapping frames, as CMatBasic::CoreMultiFrame describes it, on raw blocks: what
// CMatBasic, the MatLib routines and the spectral filter of streams share. Pointers and counts are the
// caller's care.
#pragma once

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/DataCplx.h>
#include <KvxDevCommon01/dsp/MatBasic.h>

namespace kvx {

/// Whether frames of half of n samples can be laid over each other by half.
bool IsFrameBlock(__int64 n);

bool IsTerm(CMatBasic::DATA_TERM term);

/// Fills `out` with `outCount` samples of the signal `in` of `count` >= 1 samples from index `start` on.
/// Fails for an unknown `term`.
int SelectSamples(double* out, __int64 outCount, const double* in, __int64 count, __int64 start,
                  CMatBasic::DATA_TERM term);

/// CMatBasic::CoreAddCir for a `sum` of `size` samples.
int AddFrame(double* sum, __int64 position, __int64 size, const double* frame,
             const CDataArrayDoubleCplx& response, CDataArrayDoubleCplx* spec, double* wave, double* work);

/// The stream of CoreMultiFrame, frame by frame. Nothing is allocated after Begin.
class FrameConvolver {
public:
    /// `response` must live as long as frames are convolved. Fails for a wrong block size, a response of
    /// fewer than blockSize/2 complex lines, or when allocation fails.
    int Begin(__int64 blockSize, const CDataArrayDoubleCplx& response);

    /// From one frame to the next, a quarter of a block.
    __int64 Hop() const { return hop_; }
    /// Where the two hops of samples of the next frame are to be put.
    double* Frame() { return frame_.GetData(); }
    /// Convolves that frame and returns the hop of samples that it completes, those that come just before it:
    /// they stay until the next frame. The first frame completes none, and the second the first of the
    /// stream. Null when allocation fails.
    const double* Convolve();

private:
    __int64 hop_ = 0;
    __int64 position_ = 0;  // in the sum, of the next frame
    const CDataArrayDoubleCplx* response_ = nullptr;
    CDataArrayDouble window_;
    CDataArrayDouble frame_;
    CDataArrayDouble sum_;  // a ring of what is not complete
    CDataArrayDouble completed_;
    CDataArrayDouble wave_;
    CDataArrayDouble work_;
    CDataArrayDoubleCplx spec_;
};

/// The `outCount` >= 1 samples of the stream of CoreMultiFrame from `skip` on. Fails as that.
int ConvolveFrames(double* out, __int64 outCount, const double* in, __int64 count, __int64 blockSize,
                   const CDataArrayDoubleCplx& response, CMatBasic::DATA_TERM term, __int64 start,
                   __int64 skip);

/// Lines of a spectrum in two blocks.
struct Lines {
    const double* re;
    const double* im;
    __int64 count;
};

/// MatLibCvlFilteringModPeri, which says when it fails.
int FilterStretch(const double* in, double* out, __int64 count, CMatBasic::DATA_TERM term,
                  const Lines& response, __int64 blockSize, __int64 first, __int64 last);

}  // namespace kvx
