// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/kernels/FftKernelSets.h>

#include <array>
#include <cstdlib>
#include <cstring>

namespace kvx {
namespace {

#ifdef KVX_X86_KERNELS
constexpr std::size_t kSetCount = 3;

std::size_t CountAvailable() {
    __builtin_cpu_init();
    if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("fma")) return 1;
    if (!__builtin_cpu_supports("avx512f") || !__builtin_cpu_supports("avx512dq") ||
        !__builtin_cpu_supports("avx512vl") || !__builtin_cpu_supports("avx512bw")) {
        return 2;
    }
    return 3;
}
#else
constexpr std::size_t kSetCount = 1;

std::size_t CountAvailable() {
    return 1;
}
#endif

/// Each set needs everything that the one before it needs.
const std::array<const FftKernels*, kSetCount>& AllSets() {
    static constexpr std::array<const FftKernels*, kSetCount> sets = {
        &baseline::kFftKernels,
#ifdef KVX_X86_KERNELS
        &avx2::kFftKernels,
        &avx512::kFftKernels,
#endif
    };
    return sets;
}

const FftKernels& Choose() {
    const auto sets = AvailableFftKernels();
    if (const char* const wanted = std::getenv("KVX_KERNELS")) {
        for (const FftKernels* const set : sets) {
            if (std::strcmp(set->name, wanted) == 0) return *set;
        }
    }
    return *sets.back();
}

}  // namespace

std::span<const FftKernels* const> AvailableFftKernels() {
    static const std::size_t count = CountAvailable();
    return std::span(AllSets()).first(count);
}

const FftKernels& ActiveFftKernels() {
    static const FftKernels& chosen = Choose();
    return chosen;
}

}  // namespace kvx
