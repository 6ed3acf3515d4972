// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/SampleQueue.h>

#include <algorithm>
#include <new>

#include <KvxDevCommon01/data/Ring.h>

namespace kvx {

void SampleQueue::SetSize(__int64 size) {
    readIndex_ = 0;
    waiting_ = 0;
    if (size == GetSize()) return;
    values_ = {};
    const auto count = static_cast<std::size_t>(size);
    if (count > values_.max_size()) throw std::bad_alloc();
    values_ = std::vector<double>(count);
}

template <class Write>
bool SampleQueue::Enqueue(__int64 count, Write write) {
    const __int64 size = GetSize();
    if (size == 0) return count == 0;
    const __int64 kept = std::min(count, size);
    const __int64 lost = std::max<__int64>(waiting_ - (size - kept), 0);
    Drop(lost);
    __int64 first = count - kept;
    WalkRings(
        kept,
        [&](__int64 run, double* destination) {
            write(destination, first, run);
            first += run;
        },
        Ring<double>{values_.data(), size, static_cast<__int64>(Wrap(readIndex_ + waiting_))});
    waiting_ += kept;
    return lost == 0 && kept == count;
}

bool SampleQueue::Put(std::span<const double> samples) {
    return Enqueue(std::ssize(samples), [samples](double* destination, __int64 first, __int64 run) {
        std::copy_n(samples.begin() + first, run, destination);
    });
}

bool SampleQueue::PutRepeated(double value, __int64 count) {
    return Enqueue(
        count, [value](double* destination, __int64, __int64 run) { std::fill_n(destination, run, value); });
}

__int64 SampleQueue::Take(std::span<double> out) {
    const __int64 taken = std::min(std::ssize(out), waiting_);
    auto to = out.begin();
    WalkRings(
        taken, [&](__int64 run, const double* from) { to = std::copy_n(from, run, to); },
        Ring<const double>{values_.data(), GetSize(), readIndex_});
    Drop(taken);
    return taken;
}

}  // namespace kvx
