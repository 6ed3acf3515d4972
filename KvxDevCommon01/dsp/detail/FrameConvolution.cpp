// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/detail/FrameConvolution.h>

#include <KvxDevCommon01/data/Ring.h>
#include <KvxDevCommon01/dsp/MatFFT.h>
#include <KvxDevCommon01/dsp/detail/TrigTables.h>

#include <algorithm>
#include <limits>
#include <numbers>

namespace kvx {
namespace {

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

bool IsFrameBlock(__int64 n) {
    return IsTransformSize(n, 4);
}

bool IsTerm(CMatBasic::DATA_TERM term) {
    return term == CMatBasic::TERM_ZERO || term == CMatBasic::TERM_PERIODIC || term == CMatBasic::TERM_HOLD;
}

int SelectSamples(double* out, __int64 outCount, const double* in, __int64 count, __int64 start,
                  CMatBasic::DATA_TERM term) {
    if (!IsTerm(term)) return 0;
    if (term == CMatBasic::TERM_PERIODIC) {
        WalkRings(
            outCount, [&](__int64 run, const double* samples) { out = std::copy_n(samples, run, out); },
            Ring<const double>{in, count, WrapIndex(start, count)});
        return 1;
    }
    const bool isHeld = term == CMatBasic::TERM_HOLD;
    const Sections sections(start, outCount, count);
    out = std::fill_n(out, sections.before, isHeld ? in[0] : 0.0);
    if (sections.inside > 0) out = std::copy_n(in + std::max<__int64>(start, 0), sections.inside, out);
    std::fill_n(out, sections.behind, isHeld ? in[count - 1] : 0.0);
    return 1;
}

int AddFrame(double* sum, __int64 position, __int64 size, const double* frame,
             const CDataArrayDoubleCplx& response, CDataArrayDoubleCplx* spec, double* wave, double* work) {
    std::fill_n(wave, size / 4, 0.0);
    std::copy_n(frame, size / 2, wave + size / 4);
    std::fill_n(wave + size / 4 * 3, size / 4, 0.0);
    double* const re = spec->GetReal();
    double* const im = spec->GetImaginary();
    if (!CMatFFT::XfrRfft(wave, work, size, re, im, size / 2) || !CMatBasic::SpecMul(spec, *spec, response) ||
        !CMatFFT::XfrIfft(wave, work, size, re, im, size / 2)) {
        return 0;
    }
    WalkRings(
        size, [](__int64 run, double* to, const double* from) { CMatBasic::AddArr(to, from, run); },
        Ring<double>{sum, size, position}, Ring<const double>{wave, size, 0});
    return 1;
}

int FrameConvolver::Begin(__int64 blockSize, const CDataArrayDoubleCplx& response) {
    hop_ = 0;
    if (!IsFrameBlock(blockSize) || response.GetNum() < blockSize / 2 || response.GetReal() == nullptr ||
        response.GetImaginary() == nullptr) {
        return 0;
    }
    const __int64 hop = blockSize / 4;
    for (CDataArrayDouble* const block : {&sum_, &wave_, &work_}) {
        if (!block->SetData(blockSize, nullptr)) return 0;
    }
    spec_ = CDataArrayDoubleCplx(1, 2 * hop);
    if (!completed_.SetData(hop, nullptr) || !frame_.SetData(2 * hop, nullptr) ||
        !window_.SetData(2 * hop, nullptr) || spec_.GetNum() != 2 * hop) {
        return 0;
    }
    std::fill_n(window_.GetData(), 2 * hop, 1.0);
    CMatBasic::WindowCore(0.5, 0.5, 0.0, std::numbers::pi / static_cast<double>(hop), 2 * hop,
                          window_.GetData());
    response_ = &response;
    position_ = 0;
    hop_ = hop;
    return 1;
}

const double* FrameConvolver::Convolve() {
    CMatBasic::MulArr(frame_.GetData(), window_.GetData(), 2 * hop_);
    if (!AddFrame(sum_.GetData(), position_, 4 * hop_, frame_.GetData(), *response_, &spec_, wave_.GetData(),
                  work_.GetData())) {
        return nullptr;
    }
    double* const finished = sum_.GetData() + position_;
    std::copy_n(finished, hop_, completed_.GetData());
    std::fill_n(finished, hop_, 0.0);
    position_ = (position_ + hop_) % (4 * hop_);
    return completed_.GetData();
}

int ConvolveFrames(double* out, __int64 outCount, const double* in, __int64 count, __int64 blockSize,
                   const CDataArrayDoubleCplx& response, CMatBasic::DATA_TERM term, __int64 start,
                   __int64 skip) {
    // Positions of frames, which run past the end of the stream by one frame, must be numbers.
    constexpr __int64 kFarthest = std::numeric_limits<__int64>::max() / 4;
    if (start > kFarthest || start < -kFarthest || skip < 0 || skip > kFarthest || outCount > kFarthest)
        return 0;
    FrameConvolver convolver;
    if (!IsTerm(term) || !convolver.Begin(blockSize, response)) return 0;
    const __int64 hop = convolver.Hop();
    const __int64 streamEnd = skip + outCount;
    for (__int64 stream = -hop; stream < streamEnd; stream += hop) {
        // This frame finishes the samples from `stream` to `stream` + hop; before the second there are none.
        SelectSamples(convolver.Frame(), 2 * hop, in, count, start + stream, term);
        const double* const finished = convolver.Convolve();
        if (finished == nullptr) return 0;
        const __int64 first = std::max(stream, skip);
        const __int64 end = std::min(stream + hop, streamEnd);
        if (first < end) std::copy_n(finished + (first - stream), end - first, out + (first - skip));
    }
    return 1;
}

int FilterStretch(const double* in, double* out, __int64 count, CMatBasic::DATA_TERM term,
                  const Lines& response, __int64 blockSize, __int64 first, __int64 last) {
    if (in == nullptr || out == nullptr || response.re == nullptr || response.im == nullptr) return 0;
    if (response.count < 1 || !IsFrameBlock(blockSize) || first < 0 || first > last || last >= count) {
        return 0;
    }
    CDataArrayDoubleCplx lines(1, blockSize / 2);
    const __int64 given = std::min(response.count, lines.GetNum());
    std::copy_n(response.re, given, lines.GetReal());
    std::copy_n(response.im, given, lines.GetImaginary());

    // In place, the stretch is filtered from a copy of the signal.
    CDataArrayDouble copy;
    if (out == in) {
        if (!copy.SetData(count, in)) return 0;
        in = copy.GetData();
    }
    // What lies before the stretch has its full weight once the stream has run for half a block.
    if (!ConvolveFrames(out + first, last - first + 1, in, count, blockSize, lines, term,
                        first - blockSize / 4, blockSize / 2)) {
        return 0;
    }
    std::copy_n(in, first, out);
    std::copy_n(in + last + 1, count - last - 1, out + last + 1);
    return 1;
}

}  // namespace kvx
