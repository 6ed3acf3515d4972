// SPDX-License-Identifier: MIT
//
// Filtering of signals through spectra: overlapping frames, time-limited responses, continuation of signals.

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/DataCplx.h>
#include <KvxDevCommon01/dsp/MatBasic.h>
#include <KvxDevCommon01/dsp/MatFFT.h>
#include <KvxDevCommon01/dsp/MatLib.h>
#include <KvxDevCommon01/dsp/detail/FrameConvolution.h>
#include <KvxDevCommon01/dsp/detail/TrigTables.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace {

using std::numbers::pi;

/// Whether frames of half of n samples can be laid over each other by half.
bool IsBlockSize(__int64 n) {
    return kvx::IsTransformSize(n, 4);
}

bool IsTerm(CMatBasic::DATA_TERM term) {
    return term == CMatBasic::TERM_ZERO || term == CMatBasic::TERM_PERIODIC || term == CMatBasic::TERM_HOLD;
}

bool HasSamples(const CDataArrayDouble* array) {
    return array != nullptr && array->GetNum() > 0 && array->GetData() != nullptr;
}

bool IsComplex(const CDataArrayDoubleCplx& spec, __int64 lineCount) {
    return spec.GetNum() >= lineCount && spec.GetReal() != nullptr && spec.GetImaginary() != nullptr;
}

/// Fills `out` with the periodic continuation of a signal on from index `start`.
void CopyPeriodic(double* out, __int64 count, const double* in, __int64 period, __int64 start) {
    __int64 source = start % period;
    if (source < 0) source += period;
    while (count > 0) {
        const __int64 run = std::min(count, period - source);
        out = std::copy_n(in + source, run, out);
        count -= run;
        source = 0;
    }
}

/// What of an array of `count` samples that starts at index `start` of a signal lies before the signal, in it
/// and behind it.
struct Sections {
    __int64 before;
    __int64 inside;
    __int64 behind;

    Sections(__int64 start, __int64 count, __int64 signalCount)
        : before(start >= 0        ? 0
                 : start <= -count ? count
                                   : -start),
          inside(start >= signalCount ? 0
                                      : std::min(count - before, signalCount - std::max<__int64>(start, 0))),
          behind(count - before - inside) {}
};

}  // namespace

int kvx::SelectSamples(double* out, __int64 outCount, const double* in, __int64 count, __int64 start,
                       CMatBasic::DATA_TERM term) {
    if (!IsTerm(term)) return 0;
    if (term == CMatBasic::TERM_PERIODIC) {
        CopyPeriodic(out, outCount, in, count, start);
        return 1;
    }
    const bool isHeld = term == CMatBasic::TERM_HOLD;
    const Sections sections(start, outCount, count);
    out = std::fill_n(out, sections.before, isHeld ? in[0] : 0.0);
    if (sections.inside > 0) out = std::copy_n(in + std::max<__int64>(start, 0), sections.inside, out);
    std::fill_n(out, sections.behind, isHeld ? in[count - 1] : 0.0);
    return 1;
}

int kvx::ConvolveFrames(double* out, __int64 outCount, const double* in, __int64 count, __int64 blockSize,
                        const CDataArrayDoubleCplx& response, CMatBasic::DATA_TERM term, __int64 start,
                        __int64 skip) {
    // Positions of frames, which run past the end of the stream by one frame, must be numbers.
    constexpr __int64 kFarthest = std::numeric_limits<__int64>::max() / 4;
    if (start > kFarthest || start < -kFarthest || skip < 0 || skip > kFarthest || outCount > kFarthest)
        return 0;
    if (!IsBlockSize(blockSize) || !IsComplex(response, blockSize / 2)) return 0;

    const __int64 hop = blockSize / 4;
    CDataArrayDouble window(2 * hop, 1.0);
    CDataArrayDouble frame(2 * hop, nullptr);
    CDataArrayDouble sum(blockSize, nullptr);
    CDataArrayDouble wave(blockSize, nullptr);
    CDataArrayDouble work(blockSize, nullptr);
    CDataArrayDoubleCplx spec(1, 2 * hop);
    if (!HasSamples(&frame) || !HasSamples(&sum) ||
        !CMatBasic::WindowCore(0.5, 0.5, 0.0, pi / static_cast<double>(hop), window.GetNum(),
                               window.GetData())) {
        return 0;
    }

    const __int64 streamEnd = skip + outCount;
    __int64 position = 0;
    for (__int64 stream = -hop; stream < streamEnd; stream += hop) {
        // This frame finishes the samples from `stream` to `stream` + hop; before the second there are none.
        if (!SelectSamples(frame.GetData(), frame.GetNum(), in, count, start + stream, term)) return 0;
        CMatBasic::MulArr(frame.GetData(), window.GetData(), frame.GetNum());
        if (!CMatBasic::CoreAddCir(&sum, position, frame, response, &spec, &wave, &work)) return 0;

        double* const finished = sum.GetData() + position;
        const __int64 first = std::max(stream, skip);
        const __int64 end = std::min(stream + hop, streamEnd);
        if (first < end) std::copy_n(finished + (first - stream), end - first, out + (first - skip));
        CMatBasic::ZeroArr(finished, hop);
        position = (position + hop) % blockSize;
    }
    return 1;
}

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
    if (!HasSamples(out) || out->GetNum() != in.GetNum() || !IsTerm(term)) return 0;
    return MatLibCvlFiltering(out->GetData(), in.GetData(), in.GetNum(), static_cast<int>(term) - 1,
                              response.GetReal(), response.GetImaginary(), response.GetNum(), blockSize);
}

int CMatBasic::SpecFilteringModPeri(CDataArrayDouble* out, const CDataArrayDouble& in, DATA_TERM term,
                                    const CDataArrayDoubleCplx& response, __int64 blockSize, __int64 first,
                                    __int64 last) {
    if (!HasSamples(out) || out->GetNum() != in.GetNum() || !IsTerm(term)) return 0;
    return MatLibCvlFilteringModPeri(in.GetData(), out->GetData(), in.GetNum(), static_cast<int>(term) - 1,
                                     response.GetReal(), response.GetImaginary(), response.GetNum(),
                                     blockSize, first, last);
}

int CMatBasic::CoreAddCir(CDataArrayDouble* sum, __int64 position, const CDataArrayDouble& frame,
                          const CDataArrayDoubleCplx& response, CDataArrayDoubleCplx* spec,
                          CDataArrayDouble* wave, CDataArrayDouble* work) {
    if (!HasSamples(sum) || !HasSamples(wave) || !HasSamples(work) || spec == nullptr) return 0;
    const __int64 size = sum->GetNum();
    if (!IsBlockSize(size) || position < 0 || position >= size || frame.GetNum() != size / 2 ||
        wave->GetNum() != size || work->GetNum() != size || spec->GetNum() != size / 2 ||
        !IsComplex(*spec, size / 2) || !IsComplex(response, size / 2)) {
        return 0;
    }
    wave->Zero();
    std::copy_n(frame.GetData(), size / 2, wave->GetData() + size / 4);
    if (!CMatFFT::XfrRfft(wave->GetData(), work->GetData(), size, spec->GetReal(), spec->GetImaginary(),
                          size / 2) ||
        !SpecMul(spec, *spec, response) ||
        !CMatFFT::XfrIfft(wave->GetData(), work->GetData(), size, spec->GetReal(), spec->GetImaginary(),
                          size / 2)) {
        return 0;
    }
    AddArr(sum->GetData() + position, wave->GetData(), size - position);
    AddArr(sum->GetData(), wave->GetData() + (size - position), position);
    return 1;
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
    if (!IsBlockSize(n) || !IsBlockSize(2 * n) || in.GetNum() != n / 2 || !IsComplex(in, n / 2)) return 0;
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

int CMatBasic::WindowCore(double a, double b, double phase0, double dphase, __int64 n, double* data) {
    // Up to here the nearest entry is a whole number that a double holds to the last digit.
    constexpr double kLargestAngle = 1e11;
    if (data == nullptr || n < 1) return 0;
    const double lastAngle = phase0 + static_cast<double>(n - 1) * dphase;
    if (!(std::fabs(phase0) <= kLargestAngle) || !(std::fabs(lastAngle) <= kLargestAngle)) return 0;

    constexpr double kHalfTurn = static_cast<double>(kvx::kSineHalfTurn);
    const double* const sine = kvx::SineTable();
    for (__int64 i = 0; i < n; ++i) {
        const double angle = phase0 + static_cast<double>(i) * dphase;
        const auto entry = static_cast<__int64>(std::floor(angle * kHalfTurn / pi + 0.5));
        const __int64 shifted = entry + kvx::kSineHalfTurn / 2;
        const double value = sine[shifted & (kvx::kSineHalfTurn - 1)];
        data[i] *= a - b * ((shifted & kvx::kSineHalfTurn) != 0 ? -value : value);
    }
    return 1;
}
