// SPDX-License-Identifier: MIT
//
// Bytes in every code page: decoding succeeds or declines, or replaces what is wrong, and decoded text
// survives the trip through UTF-8.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include <KvxDevCommon01/platform/CodePage.h>
#include <KvxDevCommon01/platform/Text.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    for (const unsigned int codePage : {932U, 936U, 1251U, 1252U, 65001U}) {
        const auto text = kvx::DecodeCodePage(bytes, codePage);
        if (text && kvx::FromUtf8(kvx::ToUtf8(*text)) != text) std::abort();
        const auto replaced = kvx::DecodeCodePageReplacing(bytes, codePage);
        if (!replaced || (text && *replaced != *text)) std::abort();
        if (kvx::FromUtf8(kvx::ToUtf8(*replaced)) != replaced) std::abort();
    }
    return 0;
}
