// SPDX-License-Identifier: MIT
//
// How a spectrum changes: the blocks of a signal in groups of equally many, each averaged into the lines of a
// slice, as a spectrogram shows them. The signal may come in calls of any length, with the same bits for
// every cut.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/dsp/Blocks.h>
#include <KvxDevCommon01/dsp/LineSpectrum.h>

namespace kvx {

/// Slice s averages the blocks s blocksPerSlice to (s + 1) blocksPerSlice - 1; only full slices count.
struct Slicing {
    BlockCut cut;
    std::int64_t blocksPerSlice = 1;

    /// The fewest blocks per slice with which `samples` samples make at most `most` >= 1 slices. Throws Error
    /// (kBadValue) for less.
    KVX_API static Slicing AtMost(std::int64_t most, std::int64_t samples, const BlockCut& cut);

    /// Full slices in `samples` samples; 0 for less than one block per slice.
    std::int64_t Count(std::int64_t samples) const {
        return blocksPerSlice > 0 ? cut.Count(samples) / blocksPerSlice : 0;
    }
    /// The first sample of a slice.
    std::int64_t Start(std::int64_t slice) const { return slice * blocksPerSlice * cut.Step(); }
    /// Samples of a slice, which overlaps the next one as blocks do.
    std::int64_t Length() const { return (blocksPerSlice - 1) * cut.Step() + cut.size; }
};

class KVX_API SlicedSpectrum {
public:
    /// Takes the lines of a slice, which are gone after the call; slices come in order.
    using Deliver = std::function<void(std::span<const double> lines)>;

    /// `kind` is kDensity or kAmplitude, `rateHz` that of the signal. Throws Error (kBadValue) for another
    /// kind, a rate that is not above 0, less than one block per slice, another count than slicing.cut.size
    /// in the window, and as AveragedSpectrum. What `detrend` names is taken out of each block.
    SlicedSpectrum(std::span<const double> window, const Slicing& slicing, LineKind kind, double rateHz,
                   Deliver deliver, Detrend detrend = Detrend::kNone);
    ~SlicedSpectrum();
    SlicedSpectrum(SlicedSpectrum&& other) noexcept;
    SlicedSpectrum& operator=(SlicedSpectrum&& other) noexcept;

    /// Takes the next samples of the signal and delivers the slices that they complete.
    void Add(std::span<const double> samples);

private:
    struct State;

    std::unique_ptr<State> state_;
};

}  // namespace kvx
