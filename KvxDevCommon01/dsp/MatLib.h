// SPDX-License-Identifier: MIT
//
// The MatLib routines: filtering and averaged spectra of signals in raw blocks, for callers that keep their
// samples in memory of their own, and the work space of multi-input spectra. Where the result is an int it is
// 1, or 0 for a null pointer that is not optional, a count that does not fit or when memory runs out; then
// nothing is written. Any thread may call them.
//
// Block sizes N are powers of two up to 131072. Line k of a spectrum of N/2 lines stands at k fs/N.
#pragma once

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Types.h>

#include <cstdint>

/// How a signal goes on outside its ends.
enum MATLIB_MODE : std::uint32_t {
    MATLIB_ZERO = 0,      ///< with zeros
    MATLIB_PERIODIC = 1,  ///< with its other end
    MATLIB_HOLD = 2,      ///< with its first or last sample
};

/// Analysis windows; CMatWIND tells their formulas.
enum MATLIB_WINDOW : std::uint32_t {
    MATLIB_RECTANGULAR = 0,
    MATLIB_HANNING = 1,
    MATLIB_HAMMING = 2,
    MATLIB_BLACKMAN = 3,
    MATLIB_BLACKMAN_HARRIS = 4,
    MATLIB_BLACKMAN_HARRIS_61DB = 5,
    MATLIB_BLACKMAN_HARRIS_67DB = 6,
    MATLIB_BLACKMAN_HARRIS_74DB = 7,
    MATLIB_FLAT_TOP = 8,
};

/// Prepares the tables of transforms up to `maxSample` points, 1..131072, so that the first calls of that
/// size are as fast as all others. It sets no limit: larger blocks prepare their tables themselves. Fails (0)
/// for a size outside that range.
KVX_API int MatLibFFTSetMaxSample(int maxSample);

/// Convolves `count` samples with the impulse response whose unscaled spectrum has `lineCount` >= 1 lines (of
/// blockSize/2; those that lack count as 0, those beyond are not used). The result stands where the signal
/// stands. It equals the direct convolution as long as the impulse response lasts at most blockSize/4 samples
/// on either side of time 0; the line at fs/2 counts as 0. `blockSize` >= 4, `mode` of MATLIB_MODE. `out` may
/// be `in`; other overlap is not allowed.
KVX_API int MatLibCvlFiltering(double* out, const double* in, __int64 count, int mode,
                               const double* responseRe, const double* responseIm, __int64 lineCount,
                               __int64 blockSize);

/// The same for the samples first..last only, 0 <= first <= last < count, in the setting of the whole signal;
/// the other samples of `out` become those of `in`.
KVX_API int MatLibCvlFilteringModPeri(const double* in, double* out, __int64 count, int mode,
                                      const double* responseRe, const double* responseIm, __int64 lineCount,
                                      __int64 blockSize, __int64 first, __int64 last);

/// One-sided power spectral density of `count` samples, averaged over the full blocks that overlap by
/// `overlap` samples, 0 <= overlap < blockSize, under a window of MATLIB_WINDOW: blockSize/2 lines, blockSize
/// >= 2. The density is per cycle per sample: divided by the sampling rate it is the density per hertz. Fails
/// when the samples do not fill one block.
KVX_API int MatLibCalcPSD(double* psd, const double* wave, __int64 count, __int64 blockSize, __int64 overlap,
                          int window);

/// Transfer function from `input` to `output`, cross power over the input's power, each averaged like the
/// density above, and optionally the coherence: |cross power|^2 over both powers, 1 for a response without
/// noise (and for a single block). Both are 0 on lines without power. The transfer function comes as real
/// and imaginary parts; each result has blockSize/2 lines.
KVX_API int MatLibCalcXFR(double* xfrRe, double* xfrIm, double* coherence, const double* input,
                          const double* output, __int64 count, __int64 blockSize, __int64 overlap,
                          int window);

/// Work space of the routines for multi-input systems (CMatMtxp): rows x cols zeros in one block, row by row.
/// Null for a count below 1 and when memory runs out. MatLibMtxpFree releases it.
KVX_API double* MatLibMtxpAllocReal(__int64 rows, __int64 cols);
/// Releases a block of MatLibMtxpAllocReal; null is allowed.
KVX_API void MatLibMtxpFree(double* block);
