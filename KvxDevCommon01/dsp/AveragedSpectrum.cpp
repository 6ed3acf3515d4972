// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/AveragedSpectrum.h>
#include <KvxDevCommon01/dsp/detail/BlockQueue.h>
#include <KvxDevCommon01/dsp/detail/BlockTransform.h>
#include <KvxDevCommon01/platform/Error.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>

namespace kvx {

struct AveragedSpectrum::State {
    State(std::span<const double> window, const BlockCut& blockCut, const Averaging& chosen)
        : averaging(chosen),
          cut(blockCut),
          average(window, chosen),
          queue(cut),
          predecessors(static_cast<std::size_t>((cut.size - 1) / cut.Step() + 1)) {}

    void AddBlock(std::span<const double> block) {
        average.Add(block);
        ++predecessors[std::min(inSignal++, predecessors.size() - 1)];
    }

    /// The sum over i and j of a[i] a[j] rho(i - j) of the linear average.
    double VarianceOfLinear() const {
        const auto blocks = static_cast<double>(average.Blocks());
        double pairs = 0.0;  // twice those of blocks m apart, times their correlation
        double apart = blocks;
        std::size_t m = 0;
        for (const double rho :
             BlockCorrelations(average.Transform().Window(), cut.Step(), average.Blocks() - 1)) {
            apart -= static_cast<double>(predecessors[m++]);
            pairs += 2.0 * rho * apart;
        }
        return (blocks + pairs) / (blocks * blocks);
    }

    /// The same of the exponential one: its newest blocks weigh a, a (1 - a), a (1 - a)^2 ..., and the 1/a
    /// first ones equally.
    double VarianceOfExponential() const {
        constexpr double kNegligible = 1e-18;
        std::vector<double> weights;  // from the newest block back
        double rest = 1.0;
        for (std::int64_t b = average.Blocks(); b > 0 && rest > kNegligible; --b) {
            const double weight = std::max(averaging.weight, 1.0 / static_cast<double>(b));
            weights.push_back(rest * weight);
            rest *= 1.0 - weight;
        }
        double sum = 0.0;
        for (const double weight : weights) sum += weight * weight;
        std::size_t m = 0;
        for (const double rho :
             BlockCorrelations(average.Transform().Window(), cut.Step(), std::ssize(weights) - 1)) {
            ++m;
            for (std::size_t i = m; i < weights.size(); ++i) sum += 2.0 * rho * weights[i] * weights[i - m];
        }
        return sum;
    }

    Averaging averaging;
    BlockCut cut;
    PowerAverage average;
    BlockQueue<1> queue;
    /// How many blocks come after so many others of their signal; the last one counts those with more, too,
    /// with which no block overlaps.
    std::vector<std::int64_t> predecessors;
    std::size_t inSignal = 0;  // blocks of the present signal

    const PowerAverage& Average() const {
        if (average.Blocks() == 0) throw Error(ErrorKind::kBadValue, "no block was averaged");
        return average;
    }
};

AveragedSpectrum::AveragedSpectrum(std::span<const double> window, std::int64_t overlap,
                                   const Averaging& averaging)
    : state_(std::make_unique<State>(
          window, RequireCut({std::ssize(window), overlap}, averaging.transformSize), averaging)) {}

AveragedSpectrum::~AveragedSpectrum() = default;
AveragedSpectrum::AveragedSpectrum(AveragedSpectrum&& other) noexcept = default;
AveragedSpectrum& AveragedSpectrum::operator=(AveragedSpectrum&& other) noexcept = default;

void AveragedSpectrum::Add(std::span<const double> samples) {
    state_->queue.Feed({samples}, [this](const auto& block) { state_->AddBlock(block.front()); });
}

void AveragedSpectrum::NextSignal() {
    state_->queue.Clear();
    state_->inSignal = 0;
}

std::int64_t AveragedSpectrum::Blocks() const {
    return state_->average.Blocks();
}

std::int64_t AveragedSpectrum::BlockSize() const {
    return state_->average.Transform().BlockSize();
}

std::int64_t AveragedSpectrum::TransformSize() const {
    return state_->average.Transform().Size();
}

std::size_t AveragedSpectrum::Lines() const {
    return static_cast<std::size_t>(TransformSize() / 2 + (state_->averaging.hasMiddleLine ? 1 : 0));
}

double AveragedSpectrum::NoiseBandwidth() const {
    return state_->average.Transform().NoiseBandwidth();
}

std::optional<double> AveragedSpectrum::DegreesOfFreedom() const {
    if (Blocks() == 0) return std::nullopt;
    switch (state_->averaging.mode) {
        case AverageMode::kLinear:
            return 2.0 / state_->VarianceOfLinear();
        case AverageMode::kExponential:
            return 2.0 / state_->VarianceOfExponential();
        default:
            return std::nullopt;
    }
}

std::vector<double> AveragedSpectrum::Psd(double rateHz) const {
    if (!(rateHz > 0.0)) throw Error(ErrorKind::kBadValue, "a sampling rate is above 0");
    return state_->Average().Psd(rateHz);
}

std::vector<double> AveragedSpectrum::Amplitude() const {
    return state_->Average().Amplitude();
}

std::vector<double> AveragedSpectrum::Power() const {
    return state_->Average().Power();
}

std::vector<std::complex<double>> BlockSpectrum(std::span<const double> block, std::span<const double> window,
                                                const Averaging& averaging) {
    BlockTransform transform(window, averaging.detrend, averaging.transformSize);
    if (block.size() != window.size())
        throw Error(ErrorKind::kBadValue, "a block has as many samples as its window");
    transform.Transform(block);
    const double factor = 2.0 / transform.Sum();
    std::vector<std::complex<double>> lines(
        static_cast<std::size_t>(transform.Lines() + (averaging.hasMiddleLine ? 1 : 0)));
    for (std::size_t k = 0; k < lines.size(); ++k)
        lines[k] = {transform.Real()[k] * factor, transform.Imaginary()[k] * factor};
    lines.front() *= 0.5;
    if (averaging.hasMiddleLine) lines.back() *= 0.5;
    return lines;
}

}  // namespace kvx
