// SPDX-License-Identifier: MIT
//
// Pictures as files: what is drawn on a canvas becomes SVG, PDF, PNG or JPEG. The same drawing gives the same
// bytes: nothing in them tells when they were made. Safe from any thread.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include <KvxDevCommon01/platform/FileException.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxPlot01/Canvas.h>
#include <KvxPlot01/Export.h>
#include <KvxPlot01/Geometry.h>

namespace kvx::plot {

enum class PictureFormat { kSvg, kPdf, kPng, kJpeg };

/// The format that a file name's end stands for (.svg, .pdf, .png, .jpg, .jpeg; case does not matter).
KVX_PLOT_API std::optional<PictureFormat> PictureFormatOf(std::wstring_view path);

struct PictureOptions {
    /// In pixels; on PDF in points. Fractions count for PDF only.
    Size size{800.0, 500.0};
    /// Pixels per inch of PNG and JPEG, which state it, and of SVG, in which a pixel is 1/96 inch; letters
    /// and pens grow with it.
    double pixelsPerInch = 96.0;
    int jpegQuality = 90;  ///< 1 to 100
};

/// Most that a side, and that the pixels of a PNG or JPEG may measure.
inline constexpr double kMaxPictureSide = 32'000.0;
inline constexpr double kMaxPixels = 120e6;

enum class PictureError {
    kNone,
    kBadOptions,  ///< a size, resolution or quality that is not positive or too large
    kNoMemory,
    kNotDrawn,  ///< the drawing library refused
    kNotWritten,
};

/// What became of a picture.
struct PictureResult {
    PictureError error = PictureError::kNone;
    std::optional<CFileException> file = {};  ///< why it was not written

    explicit operator bool() const { return error == PictureError::kNone; }
};

/// Calls `draw` once with the canvas of a picture and puts the file's bytes into `*bytes`, which is empty on
/// failure.
KVX_PLOT_API PictureResult MakePicture(PictureFormat format, const PictureOptions& options,
                                       const std::function<void(Canvas&)>& draw, std::string* bytes);

/// The same into a file, replacing an existing one only when everything was drawn and written.
KVX_PLOT_API PictureResult WritePicture(std::wstring_view path, PictureFormat format,
                                        const PictureOptions& options,
                                        const std::function<void(Canvas&)>& draw);

}  // namespace kvx::plot
