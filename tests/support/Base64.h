// SPDX-License-Identifier: MIT
//
// Small files of other programs, as base64 text in a test.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kvx::test {

inline std::string FromBase64(std::string_view text) {
    constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bytes;
    std::uint32_t bits = 0;
    int count = 0;
    for (const char letter : text.substr(0, text.find('='))) {
        bits = bits << 6 | static_cast<std::uint32_t>(kDigits.find(letter));
        count += 6;
        if (count < 8) continue;
        count -= 8;
        bytes += static_cast<char>(bits >> count & 0xFF);
    }
    return bytes;
}

}  // namespace kvx::test
