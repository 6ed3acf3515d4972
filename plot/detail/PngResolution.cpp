// SPDX-License-Identifier: MIT
#include <KvxPlot01/detail/PngResolution.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kvx::plot {
namespace {

constexpr double kMetresPerInch = 0.0254;
// The signature (8 bytes) and the header chunk (length, type, 13 bytes, check sum), which always comes first.
constexpr std::size_t kHeaderEnd = 8 + 4 + 4 + 13 + 4;

void AppendBigEndian(std::uint32_t number, std::string* bytes) {
    for (int shift = 24; shift >= 0; shift -= 8) bytes->push_back(static_cast<char>(number >> shift & 0xFFu));
}

/// The check sum of a chunk's type and data (ISO 3309, reflected polynomial 0xEDB88320).
std::uint32_t CheckSum(std::string_view bytes) {
    std::uint32_t sum = 0xFFFFFFFFu;
    for (const char byte : bytes) {
        sum ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) sum = (sum & 1u) != 0 ? sum >> 1 ^ 0xEDB88320u : sum >> 1;
    }
    return sum ^ 0xFFFFFFFFu;
}

}  // namespace

void SetPngResolution(double pixelsPerInch, std::string* png) {
    const auto pixelsPerMetre = static_cast<std::uint32_t>(std::lround(pixelsPerInch / kMetresPerInch));
    std::string content = "pHYs";
    AppendBigEndian(pixelsPerMetre, &content);  // across
    AppendBigEndian(pixelsPerMetre, &content);  // down
    content.push_back(1);                       // the unit is the metre
    std::string chunk;
    AppendBigEndian(static_cast<std::uint32_t>(content.size() - 4), &chunk);
    chunk += content;
    AppendBigEndian(CheckSum(content), &chunk);
    png->insert(kHeaderEnd, chunk);
}

}  // namespace kvx::plot
