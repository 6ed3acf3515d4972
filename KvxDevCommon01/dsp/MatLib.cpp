// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/DataCplx.h>
#include <KvxDevCommon01/dsp/AveragedSpectrum.h>
#include <KvxDevCommon01/dsp/AveragedTransfer.h>
#include <KvxDevCommon01/dsp/Blocks.h>
#include <KvxDevCommon01/dsp/MatBasic.h>
#include <KvxDevCommon01/dsp/MatLib.h>
#include <KvxDevCommon01/dsp/detail/AnalysisWindow.h>
#include <KvxDevCommon01/dsp/detail/FrameConvolution.h>
#include <KvxDevCommon01/dsp/detail/TrigTables.h>

#include <algorithm>
#include <bit>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <limits>
#include <vector>

int MatLibFFTSetMaxSample(int maxSample) {
    if (maxSample < 1 || maxSample > 1 << kvx::kMaxLog2Size) return 0;
    const auto largest = static_cast<int>(std::bit_width(static_cast<unsigned>(maxSample) - 1U));
    for (int log2Size = kvx::kMinLog2PlannedSize; log2Size <= largest; ++log2Size)
        kvx::TransformPlan(log2Size);
    return 1;
}

int MatLibCvlFiltering(double* out, const double* in, __int64 count, int mode, const double* responseRe,
                       const double* responseIm, __int64 lineCount, __int64 blockSize) {
    if (count < 1) return 0;
    return MatLibCvlFilteringModPeri(in, out, count, mode, responseRe, responseIm, lineCount, blockSize, 0,
                                     count - 1);
}

int MatLibCvlFilteringModPeri(const double* in, double* out, __int64 count, int mode,
                              const double* responseRe, const double* responseIm, __int64 lineCount,
                              __int64 blockSize, __int64 first, __int64 last) {
    if (mode != MATLIB_ZERO && mode != MATLIB_PERIODIC && mode != MATLIB_HOLD) return 0;
    return kvx::FilterStretch(in, out, count, static_cast<CMatBasic::DATA_TERM>(mode + 1),
                              {responseRe, responseIm, lineCount}, blockSize, first, last);
}

int MatLibCalcPSD(double* psd, const double* wave, __int64 count, __int64 blockSize, __int64 overlap,
                  int window) {
    CDataArrayDouble windowSamples;
    if (psd == nullptr || wave == nullptr || kvx::BlockCut{blockSize, overlap}.Count(count) == 0 ||
        !kvx::MakeAnalysisWindow(window, blockSize, &windowSamples)) {
        return 0;
    }
    try {
        kvx::AveragedSpectrum spectrum(windowSamples, overlap);
        spectrum.Add({wave, static_cast<std::size_t>(count)});
        std::ranges::copy(spectrum.Psd(1.0), psd);
        return 1;
    } catch (const std::exception&) {
        return 0;
    }
}

int MatLibCalcXFR(double* xfrRe, double* xfrIm, double* coherence, const double* input, const double* output,
                  __int64 count, __int64 blockSize, __int64 overlap, int window) {
    if (xfrRe == nullptr || xfrIm == nullptr || input == nullptr || output == nullptr ||
        kvx::BlockCut{blockSize, overlap}.Count(count) == 0) {
        return 0;
    }
    const auto samples = static_cast<std::size_t>(count);
    CDataArrayDouble windowSamples;
    if (!kvx::MakeAnalysisWindow(window, blockSize, &windowSamples)) return 0;
    try {
        kvx::AveragedTransfer average(windowSamples, overlap);
        average.Add({input, samples}, {output, samples});
        const std::vector<double> coherences = average.Coherence();
        for (const std::complex<double>& line : average.Transfer()) {
            *xfrRe++ = line.real();
            *xfrIm++ = line.imag();
        }
        if (coherence != nullptr) std::ranges::copy(coherences, coherence);
        return 1;
    } catch (const std::exception&) {
        return 0;
    }
}

double* MatLibMtxpAllocReal(__int64 rows, __int64 cols) {
    constexpr __int64 kMost =
        std::numeric_limits<std::ptrdiff_t>::max() / static_cast<__int64>(sizeof(double));
    if (rows < 1 || cols < 1 || cols > kMost / rows) return nullptr;
    return static_cast<double*>(std::calloc(static_cast<std::size_t>(rows * cols), sizeof(double)));
}

void MatLibMtxpFree(double* block) {
    std::free(block);
}
