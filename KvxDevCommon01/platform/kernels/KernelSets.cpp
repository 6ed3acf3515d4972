// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/platform/kernels/KernelSets.h>

#include <array>
#include <cstdlib>
#include <cstring>

namespace kvx {
namespace {

constexpr std::array kNames = {"baseline", "avx2", "avx512"};

#ifdef KVX_X86_KERNELS
constexpr std::array kCompiled = {KernelSet::baseline, KernelSet::avx2, KernelSet::avx512};
#else
constexpr std::array kCompiled = {KernelSet::baseline};
#endif

std::size_t CountAvailable() {
#ifdef KVX_X86_KERNELS
    __builtin_cpu_init();
    if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("fma") ||
        !__builtin_cpu_supports("pclmul")) {
        return 1;
    }
    if (!__builtin_cpu_supports("avx512f") || !__builtin_cpu_supports("avx512dq") ||
        !__builtin_cpu_supports("avx512vl") || !__builtin_cpu_supports("avx512bw")) {
        return 2;
    }
#endif
    return kCompiled.size();
}

KernelSet Choose() {
    const auto sets = AvailableKernelSets();
    if (const char* const wanted = std::getenv("KVX_KERNELS")) {
        for (const KernelSet set : sets) {
            if (std::strcmp(NameOf(set), wanted) == 0) return set;
        }
    }
    return sets.back();
}

}  // namespace

const char* NameOf(KernelSet set) {
    return kNames.at(static_cast<std::size_t>(set));
}

std::span<const KernelSet> AvailableKernelSets() {
    static const std::size_t count = CountAvailable();
    return std::span(kCompiled).first(count);
}

KernelSet ActiveKernelSet() {
    static const KernelSet chosen = Choose();
    return chosen;
}

}  // namespace kvx
