// SPDX-License-Identifier: MIT
//
// The inner loop of the check sum that ZIP archives hold of their files.
#pragma once

#include <cstddef>
#include <cstdint>

#include <KvxDevCommon01/platform/kernels/KernelSets.h>
#include <KvxRecording01/Export.h>

namespace kvx {

/// The loop of one instruction set.
struct CheckSumKernels {
    /// The check sum of bytes behind those of the sum `before`; that of none is 0. The polynomial is that of
    /// IEEE 802.3, the lowest bit first.
    std::uint32_t (*crc32)(std::uint32_t before, const std::byte* bytes, std::int64_t count);
};

KVX_DECLARE_KERNELS_OF(KVX_RECORDING_API, CheckSumKernels)

}  // namespace kvx
