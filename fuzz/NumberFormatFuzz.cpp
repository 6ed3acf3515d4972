// SPDX-License-Identifier: MIT
//
// A value, then its format: there is always a text, never longer than the format and one field allow.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string_view>

#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/ConvData.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    double value = 0.0;
    if (size < sizeof value) return 0;
    std::memcpy(&value, data, sizeof value);
    const auto format =
        kvx::FromUtf8({reinterpret_cast<const char*>(data) + sizeof value, size - sizeof value});
    if (!format) return 0;
    CString text;
    if (!CConvData::ValToStr(value, &text, format->c_str(), "de_DE")) std::abort();
    constexpr std::size_t longest =
        std::numeric_limits<double>::max_exponent10 + 3 + CConvData::kMaxPrecision;
    if (text.empty() || text.size() > format->size() + longest) std::abort();
    return 0;
}
