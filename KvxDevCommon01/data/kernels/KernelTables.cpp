// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/data/kernels/ComplexKernels.h>
#include <KvxDevCommon01/data/kernels/ElementKernels.h>
#include <KvxDevCommon01/data/kernels/ReductionKernels.h>

namespace kvx {

KVX_DEFINE_KERNELS(ComplexKernels)
KVX_DEFINE_KERNELS(ElementKernels)
KVX_DEFINE_KERNELS(ReductionKernels)

}  // namespace kvx
