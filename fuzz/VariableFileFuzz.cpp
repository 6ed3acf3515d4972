// SPDX-License-Identifier: MIT
//
// Bytes as a MATLAB file, a NumPy file and an archive of NumPy arrays: each is read whole or refused.
#include <cstddef>
#include <cstdint>

#include <KvxRecording01/MatFile.h>
#include <KvxRecording01/NpyFile.h>
#include <KvxRecording01/NpzFile.h>

#include "fuzz/ReadWhole.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    for (const auto open : {kvx::OpenMatFile, kvx::OpenNpyFile, kvx::OpenNpzFile})
        kvx::ReadWhole(data, size, open);
    return 0;
}
