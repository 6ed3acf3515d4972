// SPDX-License-Identifier: MIT
//
// A first-in first-out buffer of samples with a fixed size. When more come in than it holds, the newest stay.
// Not thread-safe.
#pragma once

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/platform/Types.h>

namespace kvx {

class KVX_API SampleQueue {
public:
    /// Empties the queue and makes it `size` samples long, without an allocation when it is. Fails for a size
    /// below 1 or when allocation fails; then the queue holds nothing.
    int SetSize(__int64 size);

    __int64 GetSize() const { return values_.GetNum(); }
    /// Samples that wait; none in a copy that memory did not suffice for.
    __int64 GetNum() const { return GetSize() > 0 ? waiting_ : 0; }
    void Clear() { waiting_ = 0; }

    /// Puts `count` >= 0 samples in. Returns 0 when samples that waited, or some of these, were lost.
    int Put(const double* samples, __int64 count);
    /// Puts one sample in.
    int Put(double sample) {
        if (waiting_ >= GetSize()) return Put(&sample, 1);
        values_.GetData()[Wrap(readIndex_ + waiting_++)] = sample;
        return 1;
    }
    /// Puts the same value in `count` >= 0 times.
    int PutRepeated(double value, __int64 count);

    /// Takes the next sample; 0.0 when none waits.
    double Take() {
        if (GetNum() == 0) return 0.0;
        const double sample = values_.GetData()[readIndex_];
        readIndex_ = Wrap(readIndex_ + 1);
        --waiting_;
        return sample;
    }
    /// Takes the next `count` samples, at most all that wait, and returns how many these were; 0 for a count
    /// below 1 or a null pointer.
    __int64 Take(double* out, __int64 count);

private:
    /// Makes room for the last of `count` samples, at most the size, and calls write(destination, first, run)
    /// for each contiguous run of them, which starts with sample `first`.
    template <class Write>
    int Enqueue(__int64 count, Write write);
    /// `index`, at most twice the size, brought back into the queue.
    __int64 Wrap(__int64 index) const { return index < GetSize() ? index : index - GetSize(); }

    CDataArrayDouble values_;
    __int64 readIndex_ = 0;
    __int64 waiting_ = 0;
};

}  // namespace kvx
