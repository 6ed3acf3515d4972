// SPDX-License-Identifier: MIT
//
// The registry of the kernels: inner loops that are compiled once per instruction set from one source (a
// `kernels/` folder of a floor, kvx_kernels in its CMakeLists.txt). A header there declares a structure of
// pointers to its loops and hands it to KVX_DECLARE_KERNELS; the source defines one object of it per set; the
// KernelTables.cpp beside it lists it with KVX_DEFINE_KERNELS. Callers take ActiveKernels<Structure>() and
// never learn which set it is.
#pragma once

#include <KvxDevCommon01/Export.h>

#include <span>

namespace kvx {

/// The instruction sets, each of which contains those before it.
enum class KernelSet : unsigned char { baseline, avx2, avx512 };

/// Its name, as KVX_KERNELS takes it.
KVX_API const char* NameOf(KernelSet set);

/// The sets that are compiled in and that this machine can run, the baseline first.
KVX_API std::span<const KernelSet> AvailableKernelSets();

/// The set in use: the last available one, or the one that the environment variable KVX_KERNELS names if it
/// is available. Chosen once, on first use.
KVX_API KernelSet ActiveKernelSet();

/// The loops of one structure that are compiled for `set`, an available one.
template <class Kernels>
const Kernels& KernelsOf(KernelSet set);

template <class Kernels>
const Kernels& ActiveKernels() {
    static const Kernels& active = KernelsOf<Kernels>(ActiveKernelSet());
    return active;
}

}  // namespace kvx

// All stand in namespace kvx. `Kernels` is the name of the structure; its object of a set is set::kKernels. A
// library other than the common one gives its export macro.
#define KVX_DECLARE_KERNELS(Kernels) KVX_DECLARE_KERNELS_OF(KVX_API, Kernels)
#define KVX_DECLARE_KERNELS_OF(API, Kernels) \
    namespace baseline {                     \
    extern const Kernels k##Kernels;         \
    }                                        \
    namespace avx2 {                         \
    extern const Kernels k##Kernels;         \
    }                                        \
    namespace avx512 {                       \
    extern const Kernels k##Kernels;         \
    }                                        \
    template <>                              \
    API const Kernels& KernelsOf<Kernels>(KernelSet set);

#ifdef KVX_X86_KERNELS
#define KVX_DEFINE_KERNELS(Kernels)                                                          \
    template <>                                                                              \
    const Kernels& KernelsOf<Kernels>(KernelSet set) {                                       \
        static constexpr const Kernels* kSets[] = {&baseline::k##Kernels, &avx2::k##Kernels, \
                                                   &avx512::k##Kernels};                     \
        return *kSets[static_cast<unsigned char>(set)];                                      \
    }
#else
#define KVX_DEFINE_KERNELS(Kernels)                \
    template <>                                    \
    const Kernels& KernelsOf<Kernels>(KernelSet) { \
        return baseline::k##Kernels;               \
    }
#endif
