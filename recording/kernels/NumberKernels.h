// SPDX-License-Identifier: MIT
//
// The inner loops that make doubles of numbers as files hold them.
#pragma once

#include <cstddef>
#include <cstdint>

#include <KvxDevCommon01/platform/kernels/KernelSets.h>
#include <KvxRecording01/Export.h>

namespace kvx {

/// The loops of one instruction set.
struct NumberKernels {
    /// Reads `count` numbers, each `step` bytes behind the one before it. Whether all of them are finite;
    /// integers are.
    using Read = bool (*)(double* to, const std::byte* from, std::int64_t step, std::int64_t count);
    /// A kind of number in the byte order of the host and in the other one.
    struct Orders {
        Read straight;
        Read swapped;
    };
    Orders int8, int16, int32, int64;
    Orders uint8, uint16, uint32, uint64;
    Orders half, single, real;  ///< floating, of 16, 32 and 64 bits
};

KVX_DECLARE_KERNELS_OF(KVX_RECORDING_API, NumberKernels)

}  // namespace kvx
