// SPDX-License-Identifier: MIT
//
// The kernel sets that this build holds. Each is a compilation of FftKernels.cpp in a namespace of its own.
#pragma once

#include <KvxDevCommon01/dsp/kernels/FftKernels.h>

namespace kvx {

namespace baseline {
extern const FftKernels kFftKernels;
}
#ifdef KVX_X86_KERNELS
namespace avx2 {
extern const FftKernels kFftKernels;
}
namespace avx512 {
extern const FftKernels kFftKernels;
}
#endif

}  // namespace kvx
