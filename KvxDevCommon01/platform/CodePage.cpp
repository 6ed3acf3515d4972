// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/CodePage.h>

#include <iconv.h>

#include <array>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <KvxDevCommon01/platform/Text.h>

namespace kvx {
namespace {

struct CodePageName {
    unsigned int codePage;
    const char* hostName;
};

constexpr unsigned int kDefaultCodePage = 932;

constexpr std::array<CodePageName, 4> kCodePages = {{
    {932, "CP932"},
    {936, "CP936"},
    {1251, "CP1251"},
    {1252, "CP1252"},
}};

const char* HostName(unsigned int codePage) {
    for (const CodePageName& entry : kCodePages) {
        if (entry.codePage == codePage) return entry.hostName;
    }
    return nullptr;
}

/// Owns a converter of the host.
class Converter {
public:
    explicit Converter(const char* from) : handle_(::iconv_open("UTF-8", from)) {}
    ~Converter() {
        if (IsOpen()) ::iconv_close(handle_);
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    // The host's "no converter" is the pointer with all bits set.
    bool IsOpen() const { return reinterpret_cast<std::intptr_t>(handle_) != -1; }

    std::optional<std::string> Convert(std::string_view bytes) const {
        // No byte of the supported pages becomes more than three UTF-8 bytes.
        std::string result(bytes.size() * 3, '\0');
        std::string source(bytes);
        char* in = source.data();
        char* out = result.data();
        std::size_t inLeft = source.size();
        std::size_t outLeft = result.size();
        if (::iconv(handle_, &in, &inLeft, &out, &outLeft) != 0 || inLeft != 0) return std::nullopt;
        result.resize(result.size() - outLeft);
        return result;
    }

private:
    iconv_t handle_;
};

}  // namespace

unsigned int SystemCodePage() {
    if (const char* value = std::getenv("KVX_CODEPAGE")) {
        unsigned int codePage = 0;
        const char* end = value + std::strlen(value);
        const auto [rest, error] = std::from_chars(value, end, codePage);
        if (error == std::errc{} && rest == end &&
            (codePage == kUtf8CodePage || HostName(codePage) != nullptr)) {
            return codePage;
        }
    }
    return kDefaultCodePage;
}

std::optional<std::wstring> DecodeCodePage(std::string_view bytes, unsigned int codePage) {
    if (codePage == 0) codePage = SystemCodePage();
    if (codePage == kUtf8CodePage) return FromUtf8(bytes);
    const char* hostName = HostName(codePage);
    if (hostName == nullptr) return std::nullopt;
    const Converter converter(hostName);
    if (!converter.IsOpen()) return std::nullopt;
    const std::optional<std::string> utf8 = converter.Convert(bytes);
    if (!utf8) return std::nullopt;
    return FromUtf8(*utf8);
}

}  // namespace kvx
