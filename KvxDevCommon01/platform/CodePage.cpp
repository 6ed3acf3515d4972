// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/CodePage.h>

#include <iconv.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>

#include <KvxDevCommon01/platform/Text.h>

namespace kvx {
namespace {

constexpr unsigned int kDefaultCodePage = 932;

struct CodePageRow {
    unsigned int codePage;
    const char* hostName;
    std::string_view
        replacement;              // UTF-8, for what is no character; empty: the control character of the byte
    unsigned char leadRanges[4];  // first and last lead byte of two-byte characters, twice; 0 for none
    unsigned char lastTrail;      // second bytes begin at 0x40
};

// What the suite's platform knows of its code pages.
// clang-format off
constexpr std::array kCodePages = {
    CodePageRow{932,  "CP932",  "・", {0x81, 0x9F, 0xE0, 0xFC}, 0xFC},
    CodePageRow{936,  "CP936",  "?",  {0x81, 0xFE, 0, 0},       0xFE},
    CodePageRow{1251, "CP1251", "",   {},                       0},
    CodePageRow{1252, "CP1252", "",   {},                       0},
};
// clang-format on

const CodePageRow* FindCodePage(unsigned int codePage) {
    for (const CodePageRow& row : kCodePages) {
        if (row.codePage == codePage) return &row;
    }
    return nullptr;
}

/// The length of what `bytes` begin with when it is no character: a pair that has the form of one, or a byte.
std::size_t WrongLength(const CodePageRow& row, std::span<const char> bytes) {
    if (bytes.size() < 2) return 1;
    const auto lead = static_cast<unsigned char>(bytes[0]);
    const auto trail = static_cast<unsigned char>(bytes[1]);
    const auto& [first1, last1, first2, last2] = row.leadRanges;
    const bool isLead = (lead >= first1 && lead <= last1) || (lead >= first2 && lead <= last2);
    return isLead && trail >= 0x40 && trail != 0x7F && trail <= row.lastTrail ? 2 : 1;
}

// No byte of the supported pages becomes more than three UTF-8 bytes.
constexpr std::size_t kLargestUtf8 = 3;

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

    /// Converts `*bytes` to UTF-8 at `*out`, which has room for it, up to the first that are no character.
    /// Both move on. False when such bytes are left.
    bool Convert(std::span<char>* bytes, char** out) const {
        char* in = bytes->data();
        std::size_t inLeft = bytes->size();
        std::size_t outLeft = kLargestUtf8 * inLeft;
        ::iconv(handle_, &in, &inLeft, out, &outLeft);
        *bytes = bytes->last(inLeft);
        return inLeft == 0;
    }

private:
    iconv_t handle_;
};

enum class BadBytes { refused, replaced };

std::optional<std::wstring> Decode(std::string_view bytes, const CodePageRow* row, BadBytes badBytes) {
    if (row == nullptr) return std::nullopt;
    // ASCII, which most texts are, is the same in every page.
    if (std::ranges::all_of(bytes, [](char c) { return static_cast<unsigned char>(c) < 0x80; }))
        return std::wstring(bytes.begin(), bytes.end());
    const Converter converter(row->hostName);
    if (!converter.IsOpen()) return std::nullopt;
    std::string source(bytes);
    std::string utf8(kLargestUtf8 * source.size(), '\0');
    char* out = utf8.data();
    for (std::span<char> rest(source); !converter.Convert(&rest, &out);) {
        if (badBytes == BadBytes::refused) return std::nullopt;
        if (row->replacement.empty()) {
            *out++ = '\xC2';  // the first byte of U+0080 to U+00BF
            *out++ = rest.front();
        } else {
            out = std::ranges::copy(row->replacement, out).out;
        }
        rest = rest.subspan(WrongLength(*row, rest));
    }
    utf8.resize(static_cast<std::size_t>(out - utf8.data()));
    return FromUtf8(utf8);
}

}  // namespace

unsigned int SystemCodePage() {
    if (const char* value = std::getenv("KVX_CODEPAGE")) {
        unsigned int codePage = 0;
        const char* end = value + std::strlen(value);
        const auto [rest, error] = std::from_chars(value, end, codePage);
        if (error == std::errc{} && rest == end &&
            (codePage == kUtf8CodePage || FindCodePage(codePage) != nullptr)) {
            return codePage;
        }
    }
    return kDefaultCodePage;
}

std::optional<std::wstring> DecodeCodePage(std::string_view bytes, unsigned int codePage) {
    if (codePage == 0) codePage = SystemCodePage();
    return codePage == kUtf8CodePage ? FromUtf8(bytes)
                                     : Decode(bytes, FindCodePage(codePage), BadBytes::refused);
}

std::optional<std::wstring> DecodeCodePageReplacing(std::string_view bytes, unsigned int codePage) {
    if (codePage == 0) codePage = SystemCodePage();
    return codePage == kUtf8CodePage ? FromUtf8Replacing(bytes)
                                     : Decode(bytes, FindCodePage(codePage), BadBytes::replaced);
}

}  // namespace kvx
