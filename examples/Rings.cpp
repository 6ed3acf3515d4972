// SPDX-License-Identifier: MIT
//
// Arrays as rings: a recorder that keeps the last second of a signal. Blocks of awkward lengths are copied
// into an array that wraps around; reading back starts at the oldest sample.
//
// It prints:
//
//     kept 2560 samples of 5316; rms 0.707107, of the last 640 samples 0.707107
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>

#include <KvxDevCommon01/KvxDevCommon01.h>

namespace {

constexpr double kRateHz = 2560.0;
constexpr double kSineHz = 40.0;

class LastSecond {
public:
    /// Appends a block of at most a second.
    bool Write(const CDataArrayDouble& block) {
        const __int64 position = written_ % ring_.GetNum();
        written_ += block.GetNum();
        return ring_.Copy(block, 0, position, block.GetNum()) != 0;
    }

    /// The kept samples, oldest first, once a whole second has been written.
    CDataArrayDouble Read() const {
        CDataArrayDouble samples(ring_.GetNum(), 0.0);
        samples.Copy(ring_, written_ % ring_.GetNum(), 0, ring_.GetNum());
        return samples;
    }

    /// Rms of the last `num` samples: the ring is read in place.
    double Rms(__int64 num) const { return ring_.CalcRms((written_ - num) % ring_.GetNum(), num); }

private:
    CDataArrayDouble ring_{static_cast<__int64>(kRateHz), 0.0};
    __int64 written_ = 0;
};

}  // namespace

int main() {
    LastSecond recorder;
    __int64 sample = 0;
    for (const __int64 length : {1000, 1, 1023, 777, 2000, 512, 3}) {
        CDataArrayDouble block(length, 0.0);
        for (__int64 i = 0; i < length; ++i) {
            const double time = static_cast<double>(sample++) / kRateHz;
            block[i] = std::sin(2.0 * std::numbers::pi * kSineHz * time);
        }
        if (!recorder.Write(block)) return 1;
    }

    const CDataArrayDouble last = recorder.Read();
    const double newest =
        std::sin(2.0 * std::numbers::pi * kSineHz * static_cast<double>(sample - 1) / kRateHz);
    std::printf("kept %lld samples of %lld; rms %.6f, of the last 640 samples %.6f\n",
                static_cast<long long>(last.GetNum()), static_cast<long long>(sample), last.CalcRms(0, 0),
                recorder.Rms(640));
    return last[last.GetNum() - 1] == newest ? 0 : 1;
}
