// SPDX-License-Identifier: MIT
//
// Filtering of signals through spectra: overlapping frames, time-limited responses, continuation of signals.

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/DataCplx.h>
#include <KvxDevCommon01/dsp/MatBasic.h>
#include <KvxDevCommon01/dsp/MatFFT.h>
#include <KvxDevCommon01/dsp/detail/FrameConvolution.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace {

using kvx::IsFrameBlock;
using std::numbers::pi;

bool HasSamples(const CDataArrayDouble* array) {
    return array != nullptr && array->GetNum() > 0 && array->GetData() != nullptr;
}

bool IsComplex(const CDataArrayDoubleCplx& spec, __int64 lineCount) {
    return spec.GetNum() >= lineCount && spec.GetReal() != nullptr && spec.GetImaginary() != nullptr;
}

}  // namespace

int CMatBasic::SelectWave(CDataArrayDouble* out, const CDataArrayDouble& in, __int64 start, DATA_TERM term) {
    if (out == nullptr || out == &in) return 0;
    out->Zero();
    if (!HasSamples(out) || !HasSamples(&in)) return 0;
    return kvx::SelectSamples(out->GetData(), out->GetNum(), in.GetData(), in.GetNum(), start, term);
}

__int64 CMatBasic::WaveInterpol(CDataArrayDouble* out, const CDataArrayDouble& in, __int64 factor) {
    if (out == nullptr || out == &in || !HasSamples(&in) || factor < 1) return 0;
    if (in.GetNum() > std::numeric_limits<__int64>::max() / factor) return 0;
    const __int64 count = in.GetNum() * factor;
    if (!out->SetData(count, nullptr)) return 0;
    const double gain = static_cast<double>(factor);
    for (__int64 i = 0; i < in.GetNum(); ++i) out->GetData()[i * factor] = gain * in.GetData()[i];
    return count;
}

int CMatBasic::SpecFiltering(CDataArrayDouble* out, const CDataArrayDouble& in, DATA_TERM term,
                             const CDataArrayDoubleCplx& response, __int64 blockSize) {
    return SpecFilteringModPeri(out, in, term, response, blockSize, 0, in.GetNum() - 1);
}

int CMatBasic::SpecFilteringModPeri(CDataArrayDouble* out, const CDataArrayDouble& in, DATA_TERM term,
                                    const CDataArrayDoubleCplx& response, __int64 blockSize, __int64 first,
                                    __int64 last) {
    if (!HasSamples(out) || out->GetNum() != in.GetNum()) return 0;
    return kvx::FilterStretch(in.GetData(), out->GetData(), in.GetNum(), term,
                              {response.GetReal(), response.GetImaginary(), response.GetNum()}, blockSize,
                              first, last);
}

int CMatBasic::CoreAddCir(CDataArrayDouble* sum, __int64 position, const CDataArrayDouble& frame,
                          const CDataArrayDoubleCplx& response, CDataArrayDoubleCplx* spec,
                          CDataArrayDouble* wave, CDataArrayDouble* work) {
    if (!HasSamples(sum) || !HasSamples(wave) || !HasSamples(work) || spec == nullptr) return 0;
    const __int64 size = sum->GetNum();
    if (!IsFrameBlock(size) || position < 0 || position >= size || frame.GetNum() != size / 2 ||
        wave->GetNum() != size || work->GetNum() != size || spec->GetNum() != size / 2 ||
        !IsComplex(*spec, size / 2) || !IsComplex(response, size / 2)) {
        return 0;
    }
    return kvx::AddFrame(sum->GetData(), position, size, frame.GetData(), response, spec, wave->GetData(),
                         work->GetData());
}

int CMatBasic::CoreMultiFrame(CDataArrayDouble* out, const CDataArrayDouble& in, __int64 blockSize,
                              const CDataArrayDoubleCplx& response, DATA_TERM term, __int64 start,
                              __int64 skip) {
    if (!HasSamples(out) || out == &in || !HasSamples(&in)) return 0;
    return kvx::ConvolveFrames(out->GetData(), out->GetNum(), in.GetData(), in.GetNum(), blockSize, response,
                               term, start, skip);
}

int CMatBasic::CalcConvolCoef(const CDataArrayDoubleCplx& in, CDataArrayDoubleCplx* out,
                              CDataArrayDoubleCplx* workSpec, CDataArrayDouble* workWave, __int64 n,
                              CDataArrayDouble* workImag, double a, double b, IXFR_DC_MODE mode,
                              double lowLimit, double highLimit) {
    constexpr double kLeastLowLimit = 1.5;
    constexpr double kRollOff = 6.0;
    if (out == nullptr || workSpec == nullptr || workWave == nullptr || workImag == nullptr) return 0;
    if (out == workSpec || workWave == workImag) return 0;
    if (!IsFrameBlock(n) || !IsFrameBlock(2 * n) || in.GetNum() != n / 2 || !IsComplex(in, n / 2)) return 0;
    if (!(a >= 0.0 && a <= 1.0 && b >= 0.0 && b <= 1.0)) return 0;
    if (mode != IXFR_DC_ZERO && mode != IXFR_DC_FIRST_LINE && mode != IXFR_DC_SETTLED) return 0;
    const double size = static_cast<double>(n);
    const auto causal = static_cast<__int64>(std::floor(size * a + 0.5));
    const auto early = static_cast<__int64>(std::floor(size * b + 0.5));

    *workSpec = in;
    if (workSpec->GetNum() != n / 2 || !workWave->SetData(2 * n, nullptr) ||
        !workImag->SetData(2 * n, nullptr) || !out->Create(1, n)) {
        return 0;
    }
    double* const re = workSpec->GetReal();
    double* const im = workSpec->GetImaginary();
    // A limit beyond the lines rolls nothing off, which the filters report as a failure.
    const bool rollsOffBelow = lowLimit > kLeastLowLimit;
    if (rollsOffBelow) SpecLinHPFN(workSpec, 0.0, 1.0, lowLimit, kRollOff);
    if (highLimit != 0.0) SpecLinLPFN(workSpec, 0.0, 1.0, highLimit, kRollOff);
    re[0] = mode == IXFR_DC_FIRST_LINE && !rollsOffBelow ? re[1] : 0.0;
    im[0] = 0.0;

    double* const wave = workWave->GetData();
    if (!CMatFFT::XfrIfft(wave, workImag->GetData(), n, re, im, n / 2)) return 0;
    if (mode == IXFR_DC_SETTLED) {
        const __int64 count = std::max<__int64>(early / 4, 2);
        double rest = 0.0;
        for (__int64 i = 0; i < count; ++i) rest += wave[(2 * n - count / 2 - early + i) % n];
        AddArr(wave, -rest / static_cast<double>(count), n);
    }
    CopyArr(wave + n, wave, n);

    // The half Hann windows: falling from 1 over the causal part, rising towards 1 at time 0 from before.
    if (causal > 0) WindowCore(0.5, 0.5, pi, pi / static_cast<double>(causal), causal, wave);
    if (early > 0) {
        WindowCore(0.5, 0.5, 0.0, pi / static_cast<double>(early), early, wave + 2 * n - early);
    }
    ZeroArr(wave + causal, 2 * n - causal - early);
    return CMatFFT::XfrRfft(wave, workImag->GetData(), 2 * n, out->GetReal(), out->GetImaginary(), n);
}
