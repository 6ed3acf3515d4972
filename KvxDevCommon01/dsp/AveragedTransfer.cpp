// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/AveragedTransfer.h>
#include <KvxDevCommon01/dsp/detail/BlockQueue.h>
#include <KvxDevCommon01/dsp/detail/BlockTransform.h>
#include <KvxDevCommon01/dsp/kernels/FftKernels.h>
#include <KvxDevCommon01/platform/Error.h>

#include <iterator>

namespace kvx {

struct AveragedTransfer::State {
    State(std::span<const double> window, std::int64_t overlap, Detrend detrend)
        : reference(window, detrend),
          response(window, detrend),
          queue(RequireCut({std::ssize(window), overlap})) {
        for (std::vector<double>* sums : {&referencePower, &responsePower, &crossReal, &crossImaginary})
            sums->resize(static_cast<std::size_t>(reference.Lines()));
    }

    void AddBlock(const BlockQueue<2>::Spans& block) {
        reference.Transform(block[0]);
        response.Transform(block[1]);
        ActiveKernels<FftKernels>().addCrossPowers(
            reference.Lines(), reference.Real(), reference.Imaginary(), response.Real(), response.Imaginary(),
            {referencePower.data(), responsePower.data(), crossReal.data(), crossImaginary.data()});
        ++blocks;
    }

    /// The cross power of a line over one of the powers.
    std::complex<double> CrossOver(const std::vector<double>& power, std::size_t k) const {
        if (power[k] == 0.0) return 0.0;
        return {crossReal[k] / power[k], crossImaginary[k] / power[k]};
    }

    void RequireBlocks() const {
        if (blocks == 0) throw Error(ErrorKind::kBadValue, "no block was averaged");
    }

    BlockTransform reference;
    BlockTransform response;
    BlockQueue<2> queue;
    // Sums over the blocks; the cross power is the response times the conjugate reference.
    std::vector<double> referencePower;
    std::vector<double> responsePower;
    std::vector<double> crossReal;
    std::vector<double> crossImaginary;
    std::int64_t blocks = 0;
};

AveragedTransfer::AveragedTransfer(std::span<const double> window, std::int64_t overlap, Detrend detrend)
    : state_(std::make_unique<State>(window, overlap, detrend)) {}

AveragedTransfer::~AveragedTransfer() = default;
AveragedTransfer::AveragedTransfer(AveragedTransfer&& other) noexcept = default;
AveragedTransfer& AveragedTransfer::operator=(AveragedTransfer&& other) noexcept = default;

void AveragedTransfer::Add(std::span<const double> reference, std::span<const double> response) {
    if (reference.size() != response.size())
        throw Error(ErrorKind::kBadValue, "a reference and its response have equally many samples");
    state_->queue.Feed({reference, response}, [this](const auto& block) { state_->AddBlock(block); });
}

void AveragedTransfer::NextSignal() {
    state_->queue.Clear();
}

std::int64_t AveragedTransfer::Blocks() const {
    return state_->blocks;
}

std::int64_t AveragedTransfer::BlockSize() const {
    return state_->reference.Size();
}

double AveragedTransfer::NoiseBandwidth() const {
    return state_->reference.NoiseBandwidth();
}

std::vector<std::complex<double>> AveragedTransfer::Transfer() const {
    state_->RequireBlocks();
    std::vector<std::complex<double>> transfer(state_->referencePower.size());
    for (std::size_t k = 0; k < transfer.size(); ++k)
        transfer[k] = state_->CrossOver(state_->referencePower, k);
    return transfer;
}

std::vector<double> AveragedTransfer::Coherence() const {
    state_->RequireBlocks();
    std::vector<double> coherence(state_->referencePower.size());
    for (std::size_t k = 0; k < coherence.size(); ++k) {
        // Quotients first: the product of two powers could leave the range of a double.
        const std::complex<double> forward = state_->CrossOver(state_->referencePower, k);
        const std::complex<double> backward = state_->CrossOver(state_->responsePower, k);
        coherence[k] = forward.real() * backward.real() + forward.imag() * backward.imag();
    }
    return coherence;
}

}  // namespace kvx
