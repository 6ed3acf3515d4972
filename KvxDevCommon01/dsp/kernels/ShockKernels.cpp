// SPDX-License-Identifier: MIT
//
// A state waits for the one before it, through four operations. The oscillators of a group stand in the lanes
// of vectors, as many vectors as the group takes, so that the waiting of one is the work of the others.

#include <KvxDevCommon01/dsp/kernels/ShockKernels.h>
#include <KvxDevCommon01/platform/kernels/Lanes.h>

namespace kvx::KVX_KERNEL_SET {
namespace {

constexpr unsigned kWidth = kLanes < kShockOscillators ? kLanes : static_cast<unsigned>(kShockOscillators);
constexpr unsigned kParts = static_cast<unsigned>(kShockOscillators) / kWidth;
using Some = Vector<kWidth>;

void Run(ShockGroup* group, double before, const double* data, Index count) {
    ShockGroup own = *group;
    Some y[kParts], z[kParts], highest[kParts], lowest[kParts];
    KVX_UNROLLED
    for (unsigned p = 0; p < kParts; ++p) {
        y[p] = LoadVector<kWidth>(own.y + p * kWidth);
        z[p] = LoadVector<kWidth>(own.z + p * kWidth);
        highest[p] = LoadVector<kWidth>(own.highest + p * kWidth);
        lowest[p] = LoadVector<kWidth>(own.lowest + p * kWidth);
    }
    for (Index i = 0; i < count; ++i) {
        const Some u0 = Spread<Some>(before);
        const Some u1 = Spread<Some>(data[i]);
        before = data[i];
        KVX_UNROLLED
        for (unsigned p = 0; p < kParts; ++p) {
            const unsigned at = p * kWidth;
            const auto field = [&](const ShockGroup::Row& row) { return LoadVector<kWidth>(row + at); };
            const Some ofY = field(own.yy) * y[p] + field(own.yz) * z[p];
            const Some ofZ = field(own.zy) * y[p] + field(own.zz) * z[p];
            y[p] = y[p] + (ofY + (field(own.y0) * u0 + field(own.y1) * u1));
            z[p] = z[p] + (ofZ + (field(own.z0) * u0 + field(own.z1) * u1));
            highest[p] = y[p] > highest[p] ? y[p] : highest[p];
            lowest[p] = y[p] < lowest[p] ? y[p] : lowest[p];
        }
    }
    KVX_UNROLLED
    for (unsigned p = 0; p < kParts; ++p) {
        StoreVector(group->y + p * kWidth, y[p]);
        StoreVector(group->z + p * kWidth, z[p]);
        StoreVector(group->highest + p * kWidth, highest[p]);
        StoreVector(group->lowest + p * kWidth, lowest[p]);
    }
}

}  // namespace

extern const ShockKernels kShockKernels = {Run};

}  // namespace kvx::KVX_KERNEL_SET
