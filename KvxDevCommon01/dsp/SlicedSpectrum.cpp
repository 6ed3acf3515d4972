// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/SlicedSpectrum.h>
#include <KvxDevCommon01/dsp/detail/BlockQueue.h>
#include <KvxDevCommon01/dsp/detail/BlockTransform.h>
#include <KvxDevCommon01/platform/Error.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace kvx {

Slicing Slicing::AtMost(std::int64_t most, std::int64_t samples, const BlockCut& cut) {
    if (most < 1) throw Error(ErrorKind::kBadValue, "a spectrogram has one slice or more");
    return {cut, std::max<std::int64_t>(1, (cut.Count(samples) + most - 1) / most)};
}

struct SlicedSpectrum::State {
    PowerAverage average;
    BlockQueue<1> queue;
    std::int64_t blocksPerSlice;
    LineKind kind;
    double rateHz;
    Deliver deliver;

    void AddBlock(std::span<const double> block) {
        average.Add(block);
        if (average.Blocks() < blocksPerSlice) return;
        deliver(kind == LineKind::kDensity ? average.Psd(rateHz) : average.Amplitude());
        average.Clear();
    }
};

SlicedSpectrum::SlicedSpectrum(std::span<const double> window, const Slicing& slicing, LineKind kind,
                               double rateHz, Deliver deliver, Detrend detrend) {
    if ((kind != LineKind::kDensity && kind != LineKind::kAmplitude) || !deliver || !(rateHz > 0.0) ||
        slicing.blocksPerSlice < 1 || std::ssize(window) != slicing.cut.size) {
        throw Error(ErrorKind::kBadValue, "the slices, their window or their rate make no spectrogram");
    }
    state_.reset(new State{PowerAverage(window, {.detrend = detrend}), BlockQueue<1>(RequireCut(slicing.cut)),
                           slicing.blocksPerSlice, kind, rateHz, std::move(deliver)});
}

SlicedSpectrum::~SlicedSpectrum() = default;
SlicedSpectrum::SlicedSpectrum(SlicedSpectrum&& other) noexcept = default;
SlicedSpectrum& SlicedSpectrum::operator=(SlicedSpectrum&& other) noexcept = default;

void SlicedSpectrum::Add(std::span<const double> samples) {
    state_->queue.Feed({samples}, [this](const auto& block) { state_->AddBlock(block.front()); });
}

}  // namespace kvx
