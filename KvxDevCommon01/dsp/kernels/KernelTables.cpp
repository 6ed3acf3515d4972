// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/kernels/FftKernels.h>
#include <KvxDevCommon01/dsp/kernels/FirKernels.h>

namespace kvx {

KVX_DEFINE_KERNELS(FftKernels)
KVX_DEFINE_KERNELS(FirKernels)

}  // namespace kvx
