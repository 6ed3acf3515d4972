// SPDX-License-Identifier: MIT
//
// The inner loops of the signal processing, compiled once per instruction set from one source. Callers take
// what ActiveKernels() returns and never learn which set it is.
#pragma once

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/dsp/kernels/FftKernels.h>
#include <KvxDevCommon01/dsp/kernels/FirKernels.h>

#include <span>

namespace kvx {

/// The kernels of one instruction set.
struct KernelSet {
    const char* name;
    const FftKernels* fft;
    const FirKernels* fir;
};

/// The sets this machine can run, the baseline first and the fastest last.
KVX_API std::span<const KernelSet> AvailableKernels();

/// The set in use: the fastest this machine can run, or the one that the environment variable KVX_KERNELS
/// names ("baseline", "avx2", "avx512") if the machine can run it. Chosen once, on first use.
KVX_API const KernelSet& ActiveKernels();

}  // namespace kvx
