// SPDX-License-Identifier: MIT
//
// Pictures as files: what is drawn on a canvas becomes SVG, PDF, PNG or JPEG. The same drawing gives the same
// bytes: nothing in them tells when they were made. Safe from any thread.
#pragma once

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

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

/// Paper on its long side, in millimetres.
inline constexpr Size kA4Millimetres{297.0, 210.0};
inline constexpr Size kA3Millimetres{420.0, 297.0};
struct Paper {
    std::string_view name;
    Size millimetres;
};
inline constexpr std::array kPapers = {Paper{"A4", kA4Millimetres}, Paper{"A3", kA3Millimetres}};
/// The pixels of paper at a resolution.
KVX_PLOT_API Size PixelsOf(Size millimetres, double pixelsPerInch);
/// The pixels that a text asks for: "800x500", or a paper's name; no value for any other text.
KVX_PLOT_API std::optional<Size> ParsePictureSize(std::string_view text, double pixelsPerInch);

/// The options for a picture of that many pixels: rounded to whole ones, on PDF their length in points.
KVX_PLOT_API PictureOptions OptionsInPixels(PictureFormat format, Size pixels, double pixelsPerInch);

/// Calls `draw` once with the canvas of a picture; the bytes of the file. Throws Error (kBadValue) for a
/// size, resolution or quality that is not positive or too large, (kHost) when the drawing library refuses,
/// and what `draw` throws.
KVX_PLOT_API std::string MakePicture(PictureFormat format, const PictureOptions& options,
                                     const std::function<void(Canvas&)>& draw);

/// The same into a file, replacing an existing one only when everything was drawn and written. Throws Error
/// also when it cannot be written.
KVX_PLOT_API void WritePicture(std::wstring_view path, PictureFormat format, const PictureOptions& options,
                               const std::function<void(Canvas&)>& draw);

}  // namespace kvx::plot
