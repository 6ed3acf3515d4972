// SPDX-License-Identifier: MIT
//
// Cuts signals that come call by call into blocks. A block that lies within one call is read where it is;
// only what blocks to come still need of past calls is kept, less than a block of each signal.
#pragma once

#include <KvxDevCommon01/dsp/Blocks.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <span>
#include <vector>

namespace kvx {

/// A queue of `kSignals` signals that are cut alike.
template <std::size_t kSignals>
class BlockQueue {
public:
    using Spans = std::array<std::span<const double>, kSignals>;

    /// `cut` must be valid.
    explicit BlockQueue(const BlockCut& cut) : size_(cut.size), step_(cut.Step()) {
        for (std::vector<double>& kept : kept_) kept.reserve(static_cast<std::size_t>(size_));
    }

    /// Begins new signals: what was kept is dropped.
    void Clear() {
        for (std::vector<double>& kept : kept_) kept.clear();
    }

    /// Takes the next samples, equally many of each signal, and calls use(block) with the Spans of every
    /// block that they complete, in order.
    template <class Use>
    void Feed(const Spans& samples, Use use) {
        const std::ptrdiff_t count = std::ssize(samples.front());
        // Where the next block starts among the samples: before them when it began in earlier calls.
        std::ptrdiff_t start = -std::ssize(kept_.front());
        for (; start + size_ <= count; start += step_) {
            Spans block;
            for (std::size_t s = 0; s < kSignals; ++s) block[s] = BlockAt(start, samples[s], kept_[s]);
            use(block);
            if (start >= 0) continue;
            for (std::vector<double>& kept : kept_) {
                kept.resize(static_cast<std::size_t>(-start));
                kept.erase(kept.begin(), kept.begin() + std::min(step_, -start));
            }
        }
        const std::ptrdiff_t first = std::max<std::ptrdiff_t>(start, 0);
        for (std::size_t s = 0; s < kSignals; ++s)
            kept_[s].insert(kept_[s].end(), samples[s].begin() + first, samples[s].end());
    }

private:
    /// The block at `start`, which ends among the samples; one that begins in `kept` is completed there.
    std::span<const double> BlockAt(std::ptrdiff_t start, std::span<const double> samples,
                                    std::vector<double>& kept) const {
        if (start >= 0)
            return samples.subspan(static_cast<std::size_t>(start), static_cast<std::size_t>(size_));
        kept.insert(kept.end(), samples.begin(), samples.begin() + (start + size_));
        return kept;
    }

    std::ptrdiff_t size_;
    std::ptrdiff_t step_;
    std::array<std::vector<double>, kSignals> kept_;
};

}  // namespace kvx
