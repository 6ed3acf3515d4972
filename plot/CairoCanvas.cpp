// SPDX-License-Identifier: MIT
#include <KvxPlot01/CairoCanvas.h>

#include <pango/pangocairo.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>
#include <vector>

#include <KvxPlot01/detail/Markup.h>

namespace kvx::plot {
namespace {

// The first of these that the host has and that knows the letter.
constexpr const char* kFontFamilies = "DejaVu Sans,VL PGothic,IPAPGothic,Noto Sans CJK JP,sans-serif";

// Lines of text are alike, whichever fonts its letters come from: above and below the base line, over the
// size of the letters.
constexpr double kAscent = 0.98;
constexpr double kDescent = 0.27;
constexpr double kScriptScale = 0.72;
constexpr double kRaise = 0.36;
constexpr double kLower = -0.14;

// Cairo computes in 24.8 fixed point.
constexpr double kFarthest = 1e6;

double Confined(double coordinate) {
    return std::isnan(coordinate) ? 0.0 : std::clamp(coordinate, -kFarthest, kFarthest);
}

// Dashes and gaps over the width of the line, which counts as at least 1.
std::vector<double> DashesOf(CKvxGraphLineSample::ELineType type) {
    switch (type) {
        case CKvxGraphLineSample::LINE_DASH:
            return {6.0, 3.0};
        case CKvxGraphLineSample::LINE_DOT:
            return {1.5, 2.0};
        case CKvxGraphLineSample::LINE_DASHDOT:
            return {6.0, 2.0, 1.5, 2.0};
        case CKvxGraphLineSample::LINE_DASHDOTDOT:
            return {6.0, 2.0, 1.5, 2.0, 1.5, 2.0};
        default:
            return {};
    }
}

}  // namespace

/// The Pango objects that lay out one line of text.
class CairoCanvas::TextSetter {
public:
    TextSetter(cairo_t* cairo, bool hasPixels)
        : layout_(pango_cairo_create_layout(cairo)), font_(pango_font_description_new()) {
        pango_font_description_set_family_static(font_, kFontFamilies);
        // Widths in proportion to the size, whatever the surface; letters on pixels only where there are any.
        cairo_font_options_t* options = cairo_font_options_create();
        cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
        cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
        cairo_font_options_set_hint_style(options,
                                          hasPixels ? CAIRO_HINT_STYLE_SLIGHT : CAIRO_HINT_STYLE_NONE);
        PangoContext* context = pango_layout_get_context(layout_);
        pango_cairo_context_set_font_options(context, options);
        pango_context_set_round_glyph_positions(context, hasPixels);
        cairo_font_options_destroy(options);
        pango_layout_set_single_paragraph_mode(layout_, TRUE);
    }
    ~TextSetter() {
        pango_font_description_free(font_);
        g_object_unref(layout_);
    }
    TextSetter(const TextSetter&) = delete;
    TextSetter& operator=(const TextSetter&) = delete;

    void Set(std::wstring_view text, double letterSize) {
        const double size = (letterSize > 0.1 ? std::min(letterSize, 10'000.0) : 0.1) * PANGO_SCALE;
        std::string utf8;
        PangoAttrList* attributes = pango_attr_list_new();
        const auto add = [&](PangoAttribute* attribute, std::size_t start) {
            attribute->start_index = static_cast<guint>(start);
            attribute->end_index = static_cast<guint>(utf8.size());
            pango_attr_list_insert(attributes, attribute);
        };
        for (const TextRun& run : SplitMarkup(text)) {
            const std::size_t start = utf8.size();
            utf8 += run.utf8;
            if (run.script == Script::kNormal) continue;
            const double rise = run.script == Script::kSuperscript ? kRaise : kLower;
            add(pango_attr_rise_new(static_cast<int>(rise * size)), start);
            add(pango_attr_scale_new(kScriptScale), start);
        }
        pango_font_description_set_absolute_size(font_, size);
        pango_layout_set_font_description(layout_, font_);
        pango_layout_set_text(layout_, utf8.data(), static_cast<int>(utf8.size()));
        pango_layout_set_attributes(layout_, attributes);
        pango_attr_list_unref(attributes);
    }

    double GetWidth() const {
        PangoRectangle logical;
        pango_layout_get_extents(layout_, nullptr, &logical);
        return static_cast<double>(logical.width) / PANGO_SCALE;
    }

    PangoLayoutLine* GetLine() const { return pango_layout_get_line_readonly(layout_, 0); }

private:
    PangoLayout* layout_;
    PangoFontDescription* font_;
};

CairoCanvas::CairoCanvas(cairo_t* cairo, Size size, double pointLength, bool hasPixels)
    : cairo_(cairo),
      size_(size),
      pointLength_(pointLength),
      hasPixels_(hasPixels),
      text_(std::make_unique<TextSetter>(cairo, hasPixels)) {
    cairo_set_line_join(cairo_, CAIRO_LINE_JOIN_ROUND);
    cairo_set_line_cap(cairo_, CAIRO_LINE_CAP_BUTT);
}

CairoCanvas::~CairoCanvas() = default;

Size CairoCanvas::Measure(std::wstring_view text, double letterSize) const {
    text_->Set(text, letterSize);
    return {text_->GetWidth(), (kAscent + kDescent) * letterSize};
}

double CairoCanvas::Sharp(double coordinate, double lineWidth) const {
    if (!hasPixels_) return coordinate;
    const bool isOdd = std::fmod(std::max(1.0, std::round(lineWidth)), 2.0) == 1.0;
    return isOdd ? std::floor(coordinate) + 0.5 : std::round(coordinate);
}

void CairoCanvas::SetColor(COLORREF color) {
    const auto part = [color](unsigned shift) { return ((color >> shift) & 0xFFu) / 255.0; };
    cairo_set_source_rgb(cairo_, part(0), part(8), part(16));
}

void CairoCanvas::AddPath(const Path& path, bool isClosed) {
    cairo_new_path(cairo_);
    for (std::size_t i = 0; i < path.GetRunNum(); ++i) {
        cairo_new_sub_path(cairo_);
        for (const Point& point : path.GetRun(i)) {
            cairo_line_to(cairo_, Confined(point.x), Confined(point.y));
        }
        if (isClosed) cairo_close_path(cairo_);
    }
}

void CairoCanvas::Fill(const Path& path, COLORREF color) {
    SetColor(color);
    AddPath(path, true);
    cairo_fill(cairo_);
}

void CairoCanvas::Stroke(const Path& path, const Pen& pen, bool isClosed) {
    if (pen.type == CKvxGraphLineSample::LINE_NONE || !(pen.width > 0.0)) return;
    SetColor(pen.color);
    cairo_set_line_width(cairo_, pen.width);
    std::vector<double> dashes = DashesOf(pen.type);
    for (double& dash : dashes) dash *= std::max(pen.width, 1.0);
    cairo_set_dash(cairo_, dashes.data(), static_cast<int>(dashes.size()), 0.0);
    AddPath(path, isClosed);
    cairo_stroke(cairo_);
}

void CairoCanvas::DrawText(std::wstring_view text, Point anchor, const TextStyle& style) {
    text_->Set(text, style.size);
    const double width = text_->GetWidth();
    Point start;
    switch (style.across) {
        case Align::kStart:
            break;
        case Align::kMiddle:
            start.x = -width / 2.0;
            break;
        case Align::kEnd:
            start.x = -width;
            break;
    }
    switch (style.down) {
        case Align::kStart:
            start.y = kAscent * style.size;
            break;
        case Align::kMiddle:
            start.y = (kAscent - kDescent) / 2.0 * style.size;
            break;
        case Align::kEnd:
            start.y = -kDescent * style.size;
            break;
    }
    cairo_save(cairo_);
    cairo_translate(cairo_, Confined(anchor.x), Confined(anchor.y));
    if (style.isVertical) cairo_rotate(cairo_, -std::numbers::pi / 2.0);
    SetColor(style.color);
    cairo_move_to(cairo_, start.x, start.y);
    pango_cairo_show_layout_line(cairo_, text_->GetLine());
    cairo_restore(cairo_);
}

void CairoCanvas::DrawImage(const Rect& rect, std::span<const COLORREF> colors, std::int64_t columns,
                            std::int64_t rows, bool isSmooth) {
    constexpr std::int64_t kMostSide = 32'767;
    const auto count = static_cast<std::int64_t>(colors.size());
    if (columns < 1 || rows < 1 || columns > kMostSide || rows > kMostSide || columns * rows != count) return;
    if (rect.IsEmpty()) return;
    cairo_surface_t* image =
        cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(columns), static_cast<int>(rows));
    if (cairo_surface_status(image) == CAIRO_STATUS_SUCCESS) {
        unsigned char* bytes = cairo_image_surface_get_data(image);
        const int stride = cairo_image_surface_get_stride(image);
        for (std::int64_t i = 0; i < count; ++i) {
            const COLORREF color = colors[static_cast<std::size_t>(i)];
            const std::uint32_t pixel = (color & 0xFFu) << 16 | (color & 0xFF00u) | (color >> 16 & 0xFFu);
            std::copy_n(reinterpret_cast<const unsigned char*>(&pixel), sizeof(pixel),
                        bytes + i / columns * stride + i % columns * 4);
        }
        cairo_surface_mark_dirty(image);
        cairo_save(cairo_);
        cairo_rectangle(cairo_, rect.left, rect.top, rect.Width(), rect.Height());
        cairo_clip(cairo_);
        cairo_translate(cairo_, rect.left, rect.top);
        cairo_scale(cairo_, rect.Width() / static_cast<double>(columns),
                    rect.Height() / static_cast<double>(rows));
        cairo_set_source_surface(cairo_, image, 0.0, 0.0);
        cairo_pattern_set_filter(cairo_get_source(cairo_),
                                 isSmooth ? CAIRO_FILTER_BILINEAR : CAIRO_FILTER_NEAREST);
        cairo_pattern_set_extend(cairo_get_source(cairo_), CAIRO_EXTEND_PAD);
        cairo_paint(cairo_);
        cairo_restore(cairo_);
    }
    cairo_surface_destroy(image);
}

void CairoCanvas::PushClip(const Rect& rect) {
    cairo_save(cairo_);
    cairo_rectangle(cairo_, rect.left, rect.top, std::max(0.0, rect.Width()), std::max(0.0, rect.Height()));
    cairo_clip(cairo_);
}

void CairoCanvas::PopClip() {
    cairo_restore(cairo_);
}

}  // namespace kvx::plot
