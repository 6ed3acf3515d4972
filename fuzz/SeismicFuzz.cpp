// SPDX-License-Identifier: MIT
//
// Bytes as a SAC, SMC, CSMIP or GeoNet recording, by the first of them: read whole or refused.
#include <array>
#include <cstddef>
#include <cstdint>

#include <KvxRecording01/CsmipFile.h>
#include <KvxRecording01/GeonetFile.h>
#include <KvxRecording01/SacFile.h>
#include <KvxRecording01/SmcFile.h>

#include "fuzz/ReadWhole.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::array kOpen = {kvx::OpenSac, kvx::OpenSmc, kvx::OpenCsmip, kvx::OpenGeonet};
    if (size > 0) kvx::ReadWhole(data + 1, size - 1, kOpen[data[0] % kOpen.size()]);
    return 0;
}
