// SPDX-License-Identifier: MIT
//
// The kernels that this build holds: each source is compiled once per set, in a namespace of its own.
#pragma once

#include <KvxDevCommon01/dsp/kernels/FftKernels.h>
#include <KvxDevCommon01/dsp/kernels/FirKernels.h>

namespace kvx {

namespace baseline {
extern const FftKernels kFftKernels;
extern const FirKernels kFirKernels;
}  // namespace baseline
#ifdef KVX_X86_KERNELS
namespace avx2 {
extern const FftKernels kFftKernels;
extern const FirKernels kFirKernels;
}  // namespace avx2
namespace avx512 {
extern const FftKernels kFftKernels;
extern const FirKernels kFirKernels;
}  // namespace avx512
#endif

}  // namespace kvx
