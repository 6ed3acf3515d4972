// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/kernels/FftKernels.h>
#include <KvxDevCommon01/dsp/kernels/FirKernels.h>
#include <KvxDevCommon01/dsp/kernels/IirKernels.h>

namespace kvx {

KVX_DEFINE_KERNELS(FftKernels)
KVX_DEFINE_KERNELS(FirKernels)
KVX_DEFINE_KERNELS(IirKernels)

}  // namespace kvx
