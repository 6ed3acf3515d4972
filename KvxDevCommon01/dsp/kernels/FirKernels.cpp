// SPDX-License-Identifier: MIT
//
// The sums of neighbouring
// results are built side by side, each in its own lane: the lanes never meet, so that their number changes no
// bit. Vector types of the compiler are used because GCC 12 keeps a plain array of sums in memory, which
// makes the loop three times slower.

#include <KvxDevCommon01/dsp/kernels/FirKernels.h>
#include <KvxDevCommon01/platform/kernels/Lanes.h>

namespace kvx::KVX_KERNEL_SET {
namespace {

static_assert(2 * kLanes - 1 <= kFirOverrun);

struct Filter {
    const double* coef;
    const Index* offsets;
    Index taps;

    /// `kVectors` * kLanes neighbouring sums.
    template <unsigned kVectors>
    inline void Sum(const double* x, double* y) const {
        Lanes sums[kVectors];
        for (unsigned v = 0; v < kVectors; ++v) sums[v] = coef[0] * Load(x + offsets[0] + v * kLanes);
        for (Index tap = 1; tap < taps; ++tap) {
            const double* const from = x + offsets[tap];
            for (unsigned v = 0; v < kVectors; ++v) sums[v] += coef[tap] * Load(from + v * kLanes);
        }
        for (unsigned v = 0; v < kVectors; ++v) Store(y + v * kLanes, sums[v]);
    }
};

void WeightedSums(const double* coef, const Index* offsets, Index taps, const double* x, double* y,
                  Index count) {
    const Filter filter{coef, offsets, taps};
    Index k = 0;
    for (; count - k >= 8 * kLanes; k += 8 * kLanes) filter.Sum<8>(x + k, y + k);
    for (; count - k >= 4 * kLanes; k += 4 * kLanes) filter.Sum<4>(x + k, y + k);
    for (; count - k > kLanes; k += 2 * kLanes) filter.Sum<2>(x + k, y + k);
    if (count > k) filter.Sum<1>(x + k, y + k);
}

void AddScaledShifted(const double* coef, double x, double* sums, Index count) {
    for (Index k = 0; k < count; k += kLanes) Store(sums + k, Load(sums + k + 1) + Load(coef + k) * x);
}

}  // namespace

extern const FirKernels kFirKernels = {WeightedSums, AddScaledShifted};

}  // namespace kvx::KVX_KERNEL_SET
