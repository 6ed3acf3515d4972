// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/Version.h>

#include <KvxDevCommon01/platform/kernels/KernelSets.h>

namespace kvx {

std::string_view RunningVersion() {
    return kVersion;
}

std::string_view KernelSetInUse() {
    return NameOf(ActiveKernelSet());
}

}  // namespace kvx
