// SPDX-License-Identifier: MIT
//
// Bytes as a universal file.
#include <cstddef>
#include <cstdint>

#include <KvxRecording01/UffFile.h>

#include "fuzz/ReadWhole.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    kvx::ReadWhole(data, size, kvx::OpenUffFile);
    return 0;
}
