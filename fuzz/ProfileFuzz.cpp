// SPDX-License-Identifier: MIT
//
// Any bytes are a profile: reading it finds values or declines, the same in each encoding that can hold them.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include <KvxDevCommon01/platform/Profile.h>
#include <KvxDevCommon01/platform/Text.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    for (const unsigned int codePage : {932U, 65001U}) {
        const kvx::Profile profile(bytes, codePage);
        profile.Text(L"", L"k");
        const std::int32_t integer = profile.Integer(L"s", L"k", 1);
        if (!profile.Text(L"s", L"k") && integer != 1) std::abort();
    }
    const auto text = kvx::FromUtf8(bytes);
    if (!text || bytes.starts_with("\xEF\xBB\xBF")) return 0;
    std::string utf16 = "\xFF\xFE";
    for (const char16_t unit : kvx::ToUtf16(*text)) {
        utf16 += static_cast<char>(unit & 0xFF);
        utf16 += static_cast<char>(unit >> 8);
    }
    if (kvx::Profile(utf16).Text(L"s", L"k") != kvx::Profile(bytes, 65001).Text(L"s", L"k")) std::abort();
    return 0;
}
