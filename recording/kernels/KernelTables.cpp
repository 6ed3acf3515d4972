// SPDX-License-Identifier: MIT

#include <KvxRecording01/kernels/CheckSumKernels.h>
#include <KvxRecording01/kernels/NumberKernels.h>

namespace kvx {

KVX_DEFINE_KERNELS(CheckSumKernels)
KVX_DEFINE_KERNELS(NumberKernels)

}  // namespace kvx
