// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/kernels/FftKernels.h>
#include <KvxDevCommon01/dsp/kernels/FirKernels.h>
#include <KvxDevCommon01/dsp/kernels/IirKernels.h>
#include <KvxDevCommon01/dsp/kernels/ShockKernels.h>

namespace kvx {

KVX_DEFINE_KERNELS(FftKernels)
KVX_DEFINE_KERNELS(FirKernels)
KVX_DEFINE_KERNELS(IirKernels)
KVX_DEFINE_KERNELS(ShockKernels)

}  // namespace kvx
