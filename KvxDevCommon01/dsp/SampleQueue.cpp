// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/SampleQueue.h>

#include <algorithm>

namespace kvx {

int SampleQueue::SetSize(__int64 size) {
    readIndex_ = 0;
    waiting_ = 0;
    if (size == GetSize() && size > 0) return 1;
    values_.Free();
    return size > 0 ? values_.SetData(size, nullptr) : 0;
}

template <class Write>
int SampleQueue::Enqueue(__int64 count, Write write) {
    const __int64 size = GetSize();
    if (size == 0) return count == 0 ? 1 : 0;
    const __int64 kept = std::min(count, size);
    const __int64 lost = std::max<__int64>(waiting_ - (size - kept), 0);
    readIndex_ = Wrap(readIndex_ + lost);
    waiting_ -= lost;

    double* const values = values_.GetData();
    for (__int64 done = 0; done < kept;) {
        const __int64 writeIndex = Wrap(readIndex_ + waiting_);
        const __int64 run = std::min(kept - done, size - writeIndex);
        write(values + writeIndex, count - kept + done, run);
        waiting_ += run;
        done += run;
    }
    return lost == 0 && kept == count ? 1 : 0;
}

int SampleQueue::Put(const double* samples, __int64 count) {
    return Enqueue(count, [samples](double* destination, __int64 first, __int64 run) {
        std::copy_n(samples + first, run, destination);
    });
}

int SampleQueue::PutRepeated(double value, __int64 count) {
    return Enqueue(
        count, [value](double* destination, __int64, __int64 run) { std::fill_n(destination, run, value); });
}

__int64 SampleQueue::Take(double* out, __int64 count) {
    if (out == nullptr) return 0;
    const __int64 taken = std::clamp<__int64>(count, 0, GetNum());
    for (__int64 done = 0; done < taken;) {
        const __int64 run = std::min(taken - done, GetSize() - readIndex_);
        std::copy_n(values_.GetData() + readIndex_, run, out + done);
        readIndex_ = Wrap(readIndex_ + run);
        done += run;
    }
    waiting_ -= taken;
    return taken;
}

}  // namespace kvx
