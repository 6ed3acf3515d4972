// SPDX-License-Identifier: MIT
//
// Bytes as a TDMS file: it is read whole or refused with a sentence.
#include <cstddef>
#include <cstdint>

#include <KvxRecording01/TdmsFile.h>

#include "fuzz/ReadWhole.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    kvx::ReadWhole(data, size, kvx::OpenTdmsFile);
    return 0;
}
