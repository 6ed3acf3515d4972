// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/kernels/KernelSets.h>

#include <KvxDevCommon01/dsp/kernels/CompiledKernels.h>

#include <array>
#include <cstdlib>
#include <cstring>

namespace kvx {
namespace {

/// Each set needs everything that the one before it needs.
constexpr auto kAllSets = std::to_array<KernelSet>({
    {"baseline", &baseline::kFftKernels, &baseline::kFirKernels},
#ifdef KVX_X86_KERNELS
    {"avx2", &avx2::kFftKernels, &avx2::kFirKernels},
    {"avx512", &avx512::kFftKernels, &avx512::kFirKernels},
#endif
});

std::size_t CountAvailable() {
#ifdef KVX_X86_KERNELS
    __builtin_cpu_init();
    if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("fma")) return 1;
    if (!__builtin_cpu_supports("avx512f") || !__builtin_cpu_supports("avx512dq") ||
        !__builtin_cpu_supports("avx512vl") || !__builtin_cpu_supports("avx512bw")) {
        return 2;
    }
#endif
    return kAllSets.size();
}

const KernelSet& Choose() {
    const auto sets = AvailableKernels();
    if (const char* const wanted = std::getenv("KVX_KERNELS")) {
        for (const KernelSet& set : sets) {
            if (std::strcmp(set.name, wanted) == 0) return set;
        }
    }
    return sets.back();
}

}  // namespace

std::span<const KernelSet> AvailableKernels() {
    static const std::size_t count = CountAvailable();
    return std::span(kAllSets).first(count);
}

const KernelSet& ActiveKernels() {
    static const KernelSet& chosen = Choose();
    return chosen;
}

}  // namespace kvx
