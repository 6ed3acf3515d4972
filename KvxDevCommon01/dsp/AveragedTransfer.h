// SPDX-License-Identifier: MIT
//
// Averaged transfer function from a reference to a response, and its coherence: both signals are cut,
// windowed and transformed alike (see AveragedSpectrum.h), and their powers and cross power are averaged over
// the blocks. The signals may come in calls of any length, with the same bits for every cut.
#pragma once

#include <complex>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/dsp/Averaging.h>

namespace kvx {

/// Nothing is allocated between calls. An object that was moved from can only be assigned to or destroyed.
class KVX_API AveragedTransfer {
public:
    /// Takes and throws what the constructor of AveragedSpectrum does. What `detrend` names is taken out of
    /// each block of both signals.
    AveragedTransfer(std::span<const double> window, std::int64_t overlap, Detrend detrend = Detrend::kNone);
    ~AveragedTransfer();
    AveragedTransfer(AveragedTransfer&& other) noexcept;
    AveragedTransfer& operator=(AveragedTransfer&& other) noexcept;

    /// Takes the next samples of two signals that were sampled together and averages the blocks that they
    /// complete. Throws Error (kBadValue) for different counts, taking none.
    void Add(std::span<const double> reference, std::span<const double> response);

    /// Ends both signals: the samples to come belong to another pair, as the blows of a hammer do, and no
    /// block spans the two. The average goes on.
    void NextSignal();

    /// Blocks averaged so far.
    std::int64_t Blocks() const;

    std::int64_t BlockSize() const;
    /// That of the window, in lines; see Windows.h.
    double NoiseBandwidth() const;

    /// Transfer function H1, the cross power over the reference's power, as complex numbers in the response's
    /// unit over the reference's: the best estimate when noise is on the response alone. 0 on lines where the
    /// reference has no power. Throws Error (kBadValue) without blocks.
    std::vector<std::complex<double>> Transfer() const;

    /// Coherence, the squared cross power over both powers, from 0 to 1: the part of the response's power
    /// that the reference explains, always 1 for a single block. 0 on lines where one of them has no power.
    /// Throws Error (kBadValue) without blocks.
    std::vector<double> Coherence() const;

private:
    struct State;

    std::unique_ptr<State> state_;
};

}  // namespace kvx
