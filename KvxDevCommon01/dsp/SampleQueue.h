// SPDX-License-Identifier: MIT
//
// A first-in first-out buffer of samples with a fixed size. When more come in than it holds, the newest stay.
// Not thread-safe.
#pragma once

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Types.h>

namespace kvx {

class KVX_API SampleQueue {
public:
    /// Empties the queue and makes it `size` >= 0 samples long, without an allocation when it is. Throws
    /// std::bad_alloc; then the queue holds nothing.
    void SetSize(__int64 size);

    __int64 GetSize() const { return std::ssize(values_); }
    /// Samples that wait.
    __int64 GetNum() const { return waiting_; }
    void Clear() { Drop(waiting_); }

    /// Puts samples in. False when samples that waited, or some of these, were lost.
    bool Put(std::span<const double> samples);
    /// Puts one sample in.
    bool Put(double sample) {
        if (waiting_ >= GetSize()) return Put(std::span(&sample, 1));
        values_[Wrap(readIndex_ + waiting_++)] = sample;
        return true;
    }
    /// Puts the same value in `count` >= 0 times.
    bool PutRepeated(double value, __int64 count);

    /// Room for the next `count` samples side by side, which AddMade puts in once they are written; null when
    /// samples would be lost, or lie apart.
    double* Room(__int64 count) {
        const __int64 end = readIndex_ + waiting_;
        const __int64 free = end < GetSize() ? GetSize() - end : readIndex_ - (end - GetSize());
        return count <= free ? values_.data() + Wrap(end) : nullptr;
    }
    void AddMade(__int64 count) { waiting_ += count; }

    /// Takes the next samples, as many as lie side by side: all of them when the queue was empty before they
    /// came. They stay where they are until more come in.
    std::span<const double> TakeInPlace() {
        const auto taken =
            std::span(values_).subspan(static_cast<std::size_t>(readIndex_),
                                       static_cast<std::size_t>(std::min(waiting_, GetSize() - readIndex_)));
        Drop(std::ssize(taken));
        return taken;
    }

    /// Takes the next sample; 0.0 when none waits.
    double Take() {
        if (waiting_ == 0) return 0.0;
        const double sample = values_[Wrap(readIndex_)];
        Drop(1);
        return sample;
    }
    /// Fills `out` with the next samples, at most all that wait, and returns how many these were.
    __int64 Take(std::span<double> out);

private:
    /// Makes room for the last of `count` samples, at most the size, and calls write(destination, first, run)
    /// for each contiguous run of them, which starts with sample `first`.
    template <class Write>
    bool Enqueue(__int64 count, Write write);
    /// Removes the next `count` samples. An empty queue begins at its front, so that what comes lies side by
    /// side.
    void Drop(__int64 count) {
        waiting_ -= count;
        readIndex_ = waiting_ == 0 ? 0 : static_cast<__int64>(Wrap(readIndex_ + count));
    }
    /// `index`, at most twice the size, brought back into the queue.
    std::size_t Wrap(__int64 index) const {
        return static_cast<std::size_t>(index < GetSize() ? index : index - GetSize());
    }

    std::vector<double> values_;
    __int64 readIndex_ = 0;
    __int64 waiting_ = 0;
};

}  // namespace kvx
