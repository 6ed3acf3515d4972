// SPDX-License-Identifier: MIT
//
// An image in memory as a JPEG file, by libjpeg.
#pragma once

#include <cstdint>
#include <string>

namespace kvx::plot {

/// Rows of 32-bit pixels 0x00RRGGBB.
struct ImageView {
    const unsigned char* pixels = nullptr;
    int width = 0;
    int height = 0;
    int strideBytes = 0;
};

/// Appends the file to `*bytes`. False when memory is short or libjpeg refuses; then `*bytes` holds a part.
bool EncodeJpeg(const ImageView& image, int quality, double pixelsPerInch, std::string* bytes);

}  // namespace kvx::plot
