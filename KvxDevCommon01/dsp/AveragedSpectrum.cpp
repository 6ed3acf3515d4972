// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/AveragedSpectrum.h>
#include <KvxDevCommon01/dsp/detail/BlockQueue.h>
#include <KvxDevCommon01/dsp/detail/BlockTransform.h>
#include <KvxDevCommon01/platform/Error.h>

#include <iterator>

namespace kvx {

struct AveragedSpectrum::State {
    PowerAverage average;
    BlockQueue<1> queue;

    const PowerAverage& Average() const {
        if (average.Blocks() == 0) throw Error(ErrorKind::kBadValue, "no block was averaged");
        return average;
    }
};

AveragedSpectrum::AveragedSpectrum(std::span<const double> window, std::int64_t overlap)
    : state_(new State{PowerAverage(window), BlockQueue<1>(RequireCut({std::ssize(window), overlap}))}) {}

AveragedSpectrum::~AveragedSpectrum() = default;
AveragedSpectrum::AveragedSpectrum(AveragedSpectrum&& other) noexcept = default;
AveragedSpectrum& AveragedSpectrum::operator=(AveragedSpectrum&& other) noexcept = default;

void AveragedSpectrum::Add(std::span<const double> samples) {
    state_->queue.Feed({samples}, [this](const auto& block) { state_->average.Add(block.front()); });
}

void AveragedSpectrum::NextSignal() {
    state_->queue.Clear();
}

std::int64_t AveragedSpectrum::Blocks() const {
    return state_->average.Blocks();
}

std::int64_t AveragedSpectrum::BlockSize() const {
    return state_->average.Transform().Size();
}

double AveragedSpectrum::NoiseBandwidth() const {
    return state_->average.Transform().NoiseBandwidth();
}

std::vector<double> AveragedSpectrum::Psd(double rateHz) const {
    if (!(rateHz > 0.0)) throw Error(ErrorKind::kBadValue, "a sampling rate is above 0");
    return state_->Average().Psd(rateHz);
}

std::vector<double> AveragedSpectrum::Amplitude() const {
    return state_->Average().Amplitude();
}

std::vector<std::complex<double>> BlockSpectrum(std::span<const double> block,
                                                std::span<const double> window) {
    BlockTransform transform(window);
    if (block.size() != window.size())
        throw Error(ErrorKind::kBadValue, "a block has as many samples as its window");
    transform.Transform(block);
    const double factor = 2.0 / transform.Sum();
    std::vector<std::complex<double>> lines(static_cast<std::size_t>(transform.Lines()));
    for (std::size_t k = 0; k < lines.size(); ++k)
        lines[k] = {transform.Real()[k] * factor, transform.Imaginary()[k] * factor};
    lines.front() *= 0.5;
    return lines;
}

}  // namespace kvx
