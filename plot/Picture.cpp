// SPDX-License-Identifier: MIT
#include <KvxPlot01/Picture.h>

#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <cairo.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <memory>
#include <new>
#include <utility>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxPlot01/CairoCanvas.h>
#include <KvxPlot01/detail/JpegEncoder.h>
#include <KvxPlot01/detail/PngResolution.h>

namespace kvx::plot {
namespace {

constexpr double kPointsPerInch = 72.0;
constexpr double kMillimetresPerInch = 25.4;
constexpr double kMaxResolution = 10'000.0;

struct SurfaceDeleter {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
using Surface = std::unique_ptr<cairo_surface_t, SurfaceDeleter>;

struct ContextDeleter {
    void operator()(cairo_t* context) const { cairo_destroy(context); }
};
using Context = std::unique_ptr<cairo_t, ContextDeleter>;

cairo_status_t AppendBytes(void* target, const unsigned char* data, unsigned int size) noexcept {
    try {
        static_cast<std::string*>(target)->append(reinterpret_cast<const char*>(data), size);
        return CAIRO_STATUS_SUCCESS;
    } catch (const std::exception&) {
        return CAIRO_STATUS_NO_MEMORY;
    }
}

bool HasPixels(PictureFormat format) {
    return format == PictureFormat::kPng || format == PictureFormat::kJpeg;
}

bool IsSide(double side) {
    return side >= 1.0 && side <= kMaxPictureSide;
}

bool AreGood(PictureFormat format, const PictureOptions& options) {
    const Size& size = options.size;
    if (!IsSide(size.width) || !IsSide(size.height)) return false;
    if (HasPixels(format) && size.width * size.height > kMaxPixels) return false;
    return options.pixelsPerInch >= 1.0 && options.pixelsPerInch <= kMaxResolution;
}

[[noreturn]] void Refuse() {
    throw Error(ErrorKind::kHost, "it could not be drawn");
}

void RequireSuccess(cairo_status_t status) {
    if (status == CAIRO_STATUS_NO_MEMORY) throw std::bad_alloc();
    if (status != CAIRO_STATUS_SUCCESS) Refuse();
}

Surface CreateSurface(PictureFormat format, Size size, std::string* bytes) {
    switch (format) {
        case PictureFormat::kSvg: {
            Surface svg(cairo_svg_surface_create_for_stream(AppendBytes, bytes, size.width, size.height));
            cairo_svg_surface_set_document_unit(svg.get(), CAIRO_SVG_UNIT_PX);
            return svg;
        }
        case PictureFormat::kPdf: {
            Surface pdf(cairo_pdf_surface_create_for_stream(AppendBytes, bytes, size.width, size.height));
            cairo_pdf_surface_set_metadata(pdf.get(), CAIRO_PDF_METADATA_CREATE_DATE, "");
            return pdf;
        }
        default:
            return Surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(size.width),
                                                      static_cast<int>(size.height)));
    }
}

/// Numbers the surfaces and images of an SVG from 1: Cairo counts them over the life of the process.
void NumberAnew(std::string* svg) {
    for (const std::string_view name : {"surface", "image"}) {
        std::map<std::string, std::string> numbers;
        std::string result;
        std::size_t copied = 0;
        for (std::size_t at = svg->find(name); at != std::string::npos; at = svg->find(name, at + 1)) {
            const std::size_t digits = at + name.size();
            const std::size_t end = svg->find_first_not_of("0123456789", digits);
            const bool isName = at > 0 && ((*svg)[at - 1] == '"' || (*svg)[at - 1] == '#');
            if (!isName || end == digits || end == std::string::npos) continue;
            const std::string number = std::to_string(numbers.size() + 1);
            const auto known = numbers.try_emplace(svg->substr(digits, end - digits), number).first;
            result.append(*svg, copied, digits - copied).append(known->second);
            copied = end;
        }
        result.append(*svg, copied);
        *svg = std::move(result);
    }
}

/// Turns what is on the surface into the bytes of the file.
void Finish(PictureFormat format, const PictureOptions& options, cairo_surface_t* surface,
            std::string* bytes) {
    switch (format) {
        case PictureFormat::kPng:
            RequireSuccess(cairo_surface_write_to_png_stream(surface, AppendBytes, bytes));
            SetPngResolution(options.pixelsPerInch, bytes);
            break;
        case PictureFormat::kJpeg: {
            const ImageView image = {
                cairo_image_surface_get_data(surface), cairo_image_surface_get_width(surface),
                cairo_image_surface_get_height(surface), cairo_image_surface_get_stride(surface)};
            if (!EncodeJpeg(image, options.jpegQuality, options.pixelsPerInch, bytes)) Refuse();
            break;
        }
        default:
            cairo_surface_finish(surface);
            RequireSuccess(cairo_surface_status(surface));
            if (format == PictureFormat::kSvg) NumberAnew(bytes);
    }
}

}  // namespace

std::optional<PictureFormat> PictureFormatOf(std::wstring_view path) {
    static constexpr std::array<std::pair<std::wstring_view, PictureFormat>, 5> kEnds = {{
        {L".svg", PictureFormat::kSvg},
        {L".pdf", PictureFormat::kPdf},
        {L".png", PictureFormat::kPng},
        {L".jpg", PictureFormat::kJpeg},
        {L".jpeg", PictureFormat::kJpeg},
    }};
    const std::size_t dot = path.find_last_of(L'.');
    if (dot == std::wstring_view::npos) return std::nullopt;
    std::wstring end(path.substr(dot));
    for (wchar_t& letter : end) {
        if (letter >= L'A' && letter <= L'Z') letter = static_cast<wchar_t>(letter - L'A' + L'a');
    }
    for (const auto& [text, format] : kEnds) {
        if (end == text) return format;
    }
    return std::nullopt;
}

Size PixelsOf(Size millimetres, double pixelsPerInch) {
    const double pixelsPerMm = pixelsPerInch / kMillimetresPerInch;
    return {millimetres.width * pixelsPerMm, millimetres.height * pixelsPerMm};
}

std::optional<Size> ParsePictureSize(std::string_view text, double pixelsPerInch) {
    const auto paper = std::ranges::find(kPapers, text, &Paper::name);
    if (paper != kPapers.end()) return PixelsOf(paper->millimetres, pixelsPerInch);
    const std::size_t cross = text.find('x');
    if (cross == text.npos) return std::nullopt;
    const std::optional<double> width = ParseNumber(text.substr(0, cross));
    const std::optional<double> height = ParseNumber(text.substr(cross + 1));
    if (!width || !height || !std::isfinite(*width) || !std::isfinite(*height)) return std::nullopt;
    return Size{*width, *height};
}

PictureOptions OptionsInPixels(PictureFormat format, Size pixels, double pixelsPerInch) {
    PictureOptions options;
    options.pixelsPerInch = pixelsPerInch;
    const double scale = kPointsPerInch / pixelsPerInch;
    options.size = format == PictureFormat::kPdf ? Size{pixels.width * scale, pixels.height * scale}
                                                 : Size{std::round(pixels.width), std::round(pixels.height)};
    return options;
}

std::string MakePicture(PictureFormat format, const PictureOptions& options,
                        const std::function<void(Canvas&)>& draw) {
    if (!AreGood(format, options))
        throw Error(ErrorKind::kBadValue, "the picture would be too small or too large");
    if (options.jpegQuality < 1 || options.jpegQuality > 100)
        throw Error(ErrorKind::kBadValue, "the quality of a JPEG is 1 to 100");
    if (!draw) throw Error(ErrorKind::kBadValue, "there is nothing to draw");
    Size size = options.size;
    if (format != PictureFormat::kPdf) size = {std::floor(size.width), std::floor(size.height)};
    const double pointLength = format == PictureFormat::kPdf ? 1.0 : options.pixelsPerInch / kPointsPerInch;
    std::string bytes;
    const Surface surface = CreateSurface(format, size, &bytes);
    const Context context(cairo_create(surface.get()));
    RequireSuccess(cairo_status(context.get()));
    {
        CairoCanvas canvas(context.get(), size, pointLength, HasPixels(format));
        canvas.FillRect({0.0, 0.0, size.width, size.height}, kvx::Rgb(255, 255, 255));
        draw(canvas);
    }
    RequireSuccess(cairo_status(context.get()));
    cairo_surface_flush(surface.get());
    Finish(format, options, surface.get(), &bytes);
    return bytes;
}

void WritePicture(std::wstring_view path, PictureFormat format, const PictureOptions& options,
                  const std::function<void(Canvas&)>& draw) {
    const std::string bytes = MakePicture(format, options, draw);
    try {
        OutputFile file(path);
        file.Write(bytes.data(), bytes.size());
        file.Commit();
    } catch (const CFileException& failure) {
        throw Error(failure);
    }
}

}  // namespace kvx::plot
