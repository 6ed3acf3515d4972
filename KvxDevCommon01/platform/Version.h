// SPDX-License-Identifier: MIT
//
// The version of the library: in the headers that a program is compiled with, and of the library that it runs
// with. CMake's and pkg-config's packages, the headers of data files and the tool take it from here.
#pragma once

#include <string>
#include <string_view>

#include <KvxDevCommon01/Export.h>

// Each below 256.
#define KVX_VERSION_MAJOR 23
#define KVX_VERSION_MINOR 0
#define KVX_VERSION_PATCH 0

/// One number for the preprocessor to compare: 0x170000 for 23.0.0.
#define KVX_VERSION_NUMBER (KVX_VERSION_MAJOR * 0x10000 + KVX_VERSION_MINOR * 0x100 + KVX_VERSION_PATCH)

#define KVX_QUOTED(major, minor, patch) #major "." #minor "." #patch
#define KVX_VERSION_TEXT(major, minor, patch) KVX_QUOTED(major, minor, patch)

namespace kvx {

/// That of the headers: major, minor and patch number.
inline constexpr std::string_view kVersion =
    KVX_VERSION_TEXT(KVX_VERSION_MAJOR, KVX_VERSION_MINOR, KVX_VERSION_PATCH);

/// That of the library which the program runs with. Safe from any thread.
KVX_API std::string_view RunningVersion();

/// The instruction set whose inner loops are in use, as the environment variable KVX_KERNELS names it:
/// "baseline", "avx2" or "avx512". Safe from any thread.
KVX_API std::string_view KernelSetInUse();

/// A library of others that one of ours stands on.
struct LibraryVersion {
    std::string name;
    std::string version;
};

}  // namespace kvx

#undef KVX_VERSION_TEXT
#undef KVX_QUOTED
