// SPDX-License-Identifier: MIT
#include <KvxPlot01/CairoCanvas.h>
#include <KvxPlot01/ChartDrawing.h>
#include <KvxPlot01/Picture.h>

#include <cairo.h>
#include <jpeglib.h>
#include <pango/pangocairo.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <memory>

#include "tests/plot/PlotTesting.h"
#include "tests/support/TempFolder.h"

namespace kvx::plot {
namespace {

constexpr COLORREF kRed = Rgb(255, 0, 0);
constexpr COLORREF kWhite = Rgb(255, 255, 255);

/// The pixels of a picture in memory.
class Pixels {
public:
    explicit Pixels(Size size)
        : surface_(cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(size.width),
                                              static_cast<int>(size.height))) {}
    explicit Pixels(cairo_surface_t* surface) : surface_(surface) {}
    ~Pixels() { cairo_surface_destroy(surface_); }
    Pixels(const Pixels&) = delete;
    Pixels& operator=(const Pixels&) = delete;

    template <typename Drawing>
    void Draw(Drawing draw) {
        cairo_t* cairo = cairo_create(surface_);
        {
            CairoCanvas canvas(cairo, {Width() + 0.0, Height() + 0.0}, 4.0 / 3.0, true);
            canvas.FillRect({0.0, 0.0, Width() + 0.0, Height() + 0.0}, kWhite);
            draw(canvas);
        }
        EXPECT_EQ(cairo_status(cairo), CAIRO_STATUS_SUCCESS);
        cairo_destroy(cairo);
    }
    int Width() const { return cairo_image_surface_get_width(surface_); }
    int Height() const { return cairo_image_surface_get_height(surface_); }
    COLORREF At(int x, int y) const {
        std::uint32_t pixel;
        std::memcpy(
            &pixel,
            cairo_image_surface_get_data(surface_) + y * cairo_image_surface_get_stride(surface_) + 4 * x,
            sizeof(pixel));
        return Rgb(pixel >> 16 & 0xFF, pixel >> 8 & 0xFF, pixel & 0xFF);
    }
    /// The rectangle of the pixels that `isWanted` takes.
    template <typename Predicate>
    Rect Bounds(Predicate isWanted) const {
        Rect bounds{1e9, 1e9, -1e9, -1e9};
        for (int y = 0; y < Height(); ++y) {
            for (int x = 0; x < Width(); ++x) {
                if (!isWanted(At(x, y))) continue;
                bounds = {std::min(bounds.left, x + 0.0), std::min(bounds.top, y + 0.0),
                          std::max(bounds.right, x + 1.0), std::max(bounds.bottom, y + 1.0)};
            }
        }
        return bounds;
    }
    Rect Ink() const {
        return Bounds([](COLORREF color) { return color != kWhite; });
    }

private:
    cairo_surface_t* surface_;
};

Rect InkOf(std::wstring_view text, const TextStyle& style, Point anchor = {100.0, 100.0}) {
    Pixels pixels({200.0, 200.0});
    pixels.Draw([&](Canvas& canvas) { canvas.DrawText(text, anchor, style); });
    return pixels.Ink();
}

TEST(CairoText, LiesWhereItsAlignmentSays) {
    const TextStyle style{20.0, 0, Align::kStart, Align::kMiddle};
    EXPECT_NEAR(InkOf(L"H", style).left, 100.0, 3.0);
    EXPECT_NEAR(InkOf(L"H", style).Center().y, 100.0, 1.0);
    EXPECT_NEAR(InkOf(L"HHH", {20.0, 0, Align::kMiddle, Align::kMiddle}).Center().x, 100.0, 1.0);
    EXPECT_NEAR(InkOf(L"H", {20.0, 0, Align::kEnd, Align::kStart}).right, 100.0, 3.0);
    EXPECT_GE(InkOf(L"加H", {20.0, 0, Align::kStart, Align::kStart}).top, 100.0);
    EXPECT_LE(InkOf(L"加g", {20.0, 0, Align::kStart, Align::kEnd}).bottom, 100.0);
    const Rect vertical = InkOf(L"HHH", {20.0, 0, Align::kMiddle, Align::kEnd, true});
    EXPECT_GT(vertical.Height(), 2.0 * vertical.Width());
    EXPECT_NEAR(vertical.Center().y, 100.0, 1.0);
    EXPECT_LE(vertical.right, 100.0);
}

TEST(CairoText, RaisesAndLowersRunsOfMarkup) {
    const TextStyle style{20.0, 0};
    const Rect plain = InkOf(L"HH", style);
    const Rect raised = InkOf(L"H#uH", style);
    const Rect lowered = InkOf(L"H#lH", style);
    EXPECT_LT(raised.top, plain.top - 1.0);
    EXPECT_EQ(raised.bottom, plain.bottom);
    EXPECT_LT(raised.right, plain.right);
    EXPECT_GT(lowered.bottom, plain.bottom + 1.0);
    EXPECT_EQ(InkOf(L"H#u#nH", style), plain);
    EXPECT_GT(InkOf(L"H#H", style).right, plain.right);  // no markup
    EXPECT_TRUE(InkOf(L"#u#n", style).IsEmpty());
    EXPECT_FALSE(InkOf(std::wstring(L"a\0\n\tb", 5), style).IsEmpty());
}

TEST(CairoText, HasLettersForTheTextsOfTheSuite) {
    PangoContext* context = pango_font_map_create_context(pango_cairo_font_map_get_default());
    PangoLayout* layout = pango_layout_new(context);
    pango_layout_set_text(layout, "加速度 ウォータフォール ｶﾅ µΩ×°…", -1);
    EXPECT_EQ(pango_layout_get_unknown_glyphs_count(layout), 0);
    g_object_unref(layout);
    g_object_unref(context);
}

TEST(CairoText, MeasuresWhatItDraws) {
    Pixels pixels({400.0, 100.0});
    Size size;
    pixels.Draw([&](Canvas& canvas) {
        size = canvas.Measure(L"HHHHHHHHHH", 20.0);
        EXPECT_NEAR(canvas.Measure(L"HHHHHHHHHH", 40.0).width, 2.0 * size.width, 0.05 * size.width);
        canvas.DrawText(L"HHHHHHHHHH", {10.0, 50.0}, {20.0, 0});
    });
    EXPECT_NEAR(pixels.Ink().Width(), size.width, 5.0);
}

TEST(CairoCanvas, DrawsAPointOfACurveOnItsPixel) {
    Chart chart;
    chart.x.bounds = {0.0, 10.0};
    chart.y.bounds = {0.0, 10.0};
    chart.hasGrid = false;
    ChartCurve& curve = chart.curves.emplace_back();
    const std::vector<double> y = {2.0, 2.0, 2.0, 2.0, 2.0, 99.0, 2.0};
    curve.samples = SamplesOf(y);
    curve.look.m_rgbLine = kRed;
    curve.look.m_lLineThick = GRAPH_COLOR_LINE_TAG::THICK_EXTRA;
    const CGraphColorInfo colors;
    Pixels pixels({300.0, 200.0});
    ChartLayout layout;
    pixels.Draw([&](Canvas& canvas) {
        layout = LayOutChart(chart, {0.0, 0.0, 300.0, 200.0}, canvas.GetPointLength(), canvas);
        DrawChart(chart, layout, {&colors}, canvas);
    });
    const auto at = [&](double x, double value) {
        return pixels.At(static_cast<int>(layout.x.mapping.ToPixel(x)),
                         static_cast<int>(layout.y.mapping.ToPixel(value)));
    };
    EXPECT_EQ(at(2.0, 2.0), kRed);
    EXPECT_NE(at(2.0, 4.0), kRed);
    EXPECT_NE(at(8.0, 2.0), kRed);
    const auto isReddish = [](COLORREF color) { return (color & 0xFF) > 150 && (color >> 8 & 0xFF) < 100; };
    const Rect line = pixels.Bounds(isReddish);
    EXPECT_GE(line.left, std::floor(layout.plot.left));
    EXPECT_GE(line.top, std::floor(layout.plot.top));
    EXPECT_LE(line.bottom, layout.plot.bottom);
}

/// Parts of the columns of a plot in which a row of pixels, or one of its neighbours, is red.
double RedPart(const Pixels& pixels, const Rect& plot, double row) {
    const auto isRed = [&](int x, double y) {
        const COLORREF color = pixels.At(x, static_cast<int>(y));
        return (color & 0xFF) > 200 && (color >> 8 & 0xFF) < 60;
    };
    int red = 0;
    int all = 0;
    for (int x = static_cast<int>(plot.left) + 2; x < static_cast<int>(plot.right) - 1; ++x, ++all)
        red += isRed(x, row) || isRed(x, row - 1.0) || isRed(x, row + 1.0);
    return static_cast<double>(red) / all;
}

TEST(CairoCanvas, ShowsCurvesThatLieOnABoundOverTheFrame) {
    const std::vector<double> one(64, 1.0);
    const std::vector<double> zero(64, 0.0);
    std::vector<double> gate(64, 0.0);
    std::fill(gate.begin() + 32, gate.end(), 1.0);
    const struct {
        const std::vector<double>& values;
        AxisRange bounds;
        double low, high;  // parts of the columns in which the lower and upper bound are red
    } cases[] = {{one, {0.0, 1.0}, 0.0, 1.0},
                 {zero, {0.0, 1.0}, 1.0, 0.0},
                 {gate, {0.0, 1.0}, 0.5, 0.5},
                 {one, {0.1, 1.0}, 0.0, 1.0},
                 {one, {1.0, 1.0 / 3.0 * 7.0}, 1.0, 0.0}};
    const CGraphColorInfo colors;
    for (const auto& [values, bounds, low, high] : cases) {
        for (const auto thick : {GRAPH_COLOR_LINE_TAG::THICK_NORMAL, GRAPH_COLOR_LINE_TAG::THICK_EXTRA}) {
            for (const AxisForm form : {AxisForm::kLinear, AxisForm::kLogarithmic}) {
                if (form == AxisForm::kLogarithmic && bounds.low == 0.0) continue;
                Chart chart;
                chart.x.bounds = {0.0, 63.0};
                chart.y.bounds = bounds;
                chart.y.form = form;
                ChartCurve& curve = chart.curves.emplace_back();
                curve.samples = SamplesOf(values);
                curve.look.m_rgbLine = kRed;
                curve.look.m_lLineThick = thick;
                for (const Size size : {Size{300.0, 200.0}, Size{307.0, 211.0}}) {
                    Pixels pixels(size);
                    Rect plot;
                    pixels.Draw([&](Canvas& canvas) {
                        const ChartLayout layout = LayOutChart(chart, {0.0, 0.0, size.width, size.height},
                                                               canvas.GetPointLength(), canvas);
                        DrawChart(chart, layout, {&colors}, canvas);
                        plot = layout.plot;
                    });
                    EXPECT_NEAR(RedPart(pixels, plot, plot.bottom), low, 0.06) << bounds.low << size.width;
                    EXPECT_NEAR(RedPart(pixels, plot, plot.top), high, 0.06) << bounds.low << size.width;
                }
            }
        }
    }
}

TEST(CairoCanvas, DrawsAnImageOfBlocks) {
    const COLORREF colors[] = {kRed, Rgb(0, 255, 0), Rgb(0, 0, 255), Rgb(0, 0, 0)};
    Pixels pixels({40.0, 40.0});
    pixels.Draw([&](Canvas& canvas) {
        canvas.DrawImage({10.0, 10.0, 30.0, 30.0}, colors, 2, 2, false);
        canvas.DrawImage({0.0, 0.0, 40.0, 40.0}, colors, 3, 2, false);  // sizes that do not match
        canvas.DrawImage({0.0, 0.0, 40.0, 40.0}, {}, 0, 0, true);
    });
    EXPECT_EQ(pixels.At(11, 11), kRed);
    EXPECT_EQ(pixels.At(19, 19), kRed);
    EXPECT_EQ(pixels.At(20, 10), colors[1]);
    EXPECT_EQ(pixels.At(10, 29), colors[2]);
    EXPECT_EQ(pixels.At(29, 29), colors[3]);
    EXPECT_EQ(pixels.At(5, 5), kWhite);
}

TEST(CairoCanvas, SurvivesCoordinatesOfAnySort) {
    Pixels pixels({50.0, 50.0});
    pixels.Draw([](Canvas& canvas) {
        Path path;
        for (const double wild : {kNaN, 1e308, -1e308, std::numeric_limits<double>::infinity()}) {
            path.LineTo({wild, 10.0});
            path.LineTo({10.0, wild});
            canvas.DrawText(L"text", {wild, wild}, {wild, 0});
        }
        canvas.Stroke(path, {0, 1.0, CKvxGraphLineSample::LINE_DASH});
        canvas.Fill(path, 0);
        canvas.Stroke(path, {0, kNaN});
    });
}

void DrawSomething(Canvas& canvas) {
    canvas.FillRect({10.0, 10.0, 50.0, 40.0}, kRed);
    canvas.DrawText(L"加速度 m/s#u2#n", {60.0, 20.0}, {12.0, 0});
}

/// The kind of the Error that an action throws.
std::optional<ErrorKind> KindOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const Error& error) {
        return error.Kind();
    }
    return std::nullopt;
}

std::string Made(PictureFormat format, const PictureOptions& options = {{200.0, 100.0}}) {
    return MakePicture(format, options, DrawSomething);
}

TEST(Picture, IsTheSameBytesForTheSameDrawing) {
    const std::pair<PictureFormat, const char*> starts[] = {{PictureFormat::kSvg, "<?xml"},
                                                            {PictureFormat::kPdf, "%PDF-"},
                                                            {PictureFormat::kPng, "\x89PNG"},
                                                            {PictureFormat::kJpeg, "\xFF\xD8\xFF"}};
    for (const auto& [format, start] : starts) {
        const std::string bytes = Made(format);
        EXPECT_TRUE(bytes.starts_with(start));
        EXPECT_TRUE(bytes == Made(format)) << start;
        EXPECT_EQ(bytes.find("CreationDate"), std::string::npos);
    }
}

TEST(Picture, IsAReadablePng) {
    std::string_view bytes;
    const std::string made = Made(PictureFormat::kPng);
    bytes = made;
    const auto read = [](void* source, unsigned char* data, unsigned int size) {
        auto& rest = *static_cast<std::string_view*>(source);
        if (rest.size() < size) return CAIRO_STATUS_READ_ERROR;
        std::memcpy(data, rest.data(), size);
        rest.remove_prefix(size);
        return CAIRO_STATUS_SUCCESS;
    };
    const Pixels pixels(cairo_image_surface_create_from_png_stream(read, &bytes));
    ASSERT_EQ(pixels.Width(), 200);
    ASSERT_EQ(pixels.Height(), 100);
    EXPECT_EQ(pixels.At(10, 10), kRed);
    EXPECT_EQ(pixels.At(9, 9), kWhite);
}

TEST(Picture, StatesTheResolutionOfAPng) {
    // 96 and 300 pixels per inch are 3780 and 11811 per metre; the last four bytes are the check sum.
    const std::pair<double, std::string> chunks[] = {
        {96.0, {"\0\0\0\x09pHYs\0\0\x0E\xC4\0\0\x0E\xC4\1\x95\x2B\x0E\x1B", 21}},
        {300.0, {"\0\0\0\x09pHYs\0\0\x2E\x23\0\0\x2E\x23\1\x78\xA5\x3F\x76", 21}}};
    for (const auto& [resolution, chunk] : chunks)
        EXPECT_EQ(Made(PictureFormat::kPng, {{20.0, 10.0}, resolution}).substr(33, 21), chunk) << resolution;
}

TEST(Picture, IsAReadableJpeg) {
    const std::string bytes = Made(PictureFormat::kJpeg, {{200.9, 100.0}, 150.0, 95});
    jpeg_decompress_struct reader = {};
    jpeg_error_mgr errors = {};
    reader.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&reader);
    jpeg_mem_src(&reader, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    ASSERT_EQ(jpeg_read_header(&reader, TRUE), JPEG_HEADER_OK);
    jpeg_start_decompress(&reader);
    EXPECT_EQ(reader.output_width, 200U);
    EXPECT_EQ(reader.output_height, 100U);
    EXPECT_EQ(reader.X_density, 150);
    std::vector<JSAMPLE> row(600);
    JSAMPLE* rows = row.data();
    while (reader.output_scanline < reader.output_height) {
        jpeg_read_scanlines(&reader, &rows, 1);
        if (reader.output_scanline != 25) continue;
        EXPECT_GT(row[3 * 30], 240);
        EXPECT_LT(row[3 * 30 + 1], 15);
        EXPECT_GT(row[3 * 190 + 1], 240);
    }
    jpeg_finish_decompress(&reader);
    EXPECT_EQ(errors.num_warnings, 0);
    jpeg_destroy_decompress(&reader);
}

TEST(Picture, FormatFollowsTheEndOfTheName) {
    EXPECT_EQ(PictureFormatOf(L"a.svg"), PictureFormat::kSvg);
    EXPECT_EQ(PictureFormatOf(L"C:\\x.y\\a.PDF"), PictureFormat::kPdf);
    EXPECT_EQ(PictureFormatOf(L"a.b.Png"), PictureFormat::kPng);
    EXPECT_EQ(PictureFormatOf(L"a.jpg"), PictureFormat::kJpeg);
    EXPECT_EQ(PictureFormatOf(L".jpeg"), PictureFormat::kJpeg);
    for (const wchar_t* other : {L"", L"png", L"a.png.", L"a.gif"})
        EXPECT_FALSE(PictureFormatOf(other)) << other;
}

TEST(Picture, RefusesAbsurdOptions) {
    const PictureOptions absurd[] = {{{0.0, 100.0}},         {{100.0, -1.0}},    {{kNaN, 100.0}},
                                     {{1e5, 1e5}},           {{0.5, 100.0}},     {{100.0, 100.0}, 0.0},
                                     {{100.0, 100.0}, 1e9},  {{9.0, 9.0}, kNaN}, {{9.0, 9.0}, 96.0, 0},
                                     {{9.0, 9.0}, 96.0, 101}};
    for (const PictureOptions& options : absurd) {
        for (const PictureFormat format : {PictureFormat::kSvg, PictureFormat::kPdf, PictureFormat::kJpeg}) {
            EXPECT_EQ(KindOf([&] { Made(format, options); }), ErrorKind::kBadValue);
        }
    }
    EXPECT_EQ(KindOf([] { Made(PictureFormat::kPng, {{30'000.0, 30'000.0}}); }), ErrorKind::kBadValue);
    EXPECT_FALSE(Made(PictureFormat::kSvg, {{30'000.0, 30'000.0}}).empty());
    EXPECT_FALSE(Made(PictureFormat::kPng, {{1.0, 1.0}}).empty());
}

TEST(Picture, FailsWithoutHarmWhereItCannotBeWritten) {
    const TempFolder folder;
    folder.Write("old.png", "old");
    const auto write = [](const std::filesystem::path& path, const std::function<void(Canvas&)>& draw) {
        WritePicture(path.wstring(), PictureFormat::kPng, {{50.0, 50.0}}, draw);
    };
    const std::pair<std::filesystem::path, ErrorKind> refused[] = {
        {folder / "absent" / "a.png", ErrorKind::kNotFound},
        {folder.Path(), ErrorKind::kDenied},
        {"/dev/full", ErrorKind::kDiskFull},
        {"", ErrorKind::kNotFound}};
    for (const auto& target : refused)
        EXPECT_EQ(KindOf([&] { write(target.first, DrawSomething); }), target.second) << target.first;
    EXPECT_THROW(write(folder / "old.png", [](Canvas&) { throw std::bad_alloc(); }), std::bad_alloc);
    EXPECT_EQ(folder.Read("old.png"), "old");
    write(folder / "old.png", DrawSomething);
    EXPECT_TRUE(folder.Read("old.png").starts_with("\x89PNG"));
    EXPECT_EQ(folder.Count(), 1U);
}

TEST(Picture, MeasuresPaperAndPixels) {
    const Size a4 = PixelsOf(kA4Millimetres, 96.0);
    EXPECT_NEAR(a4.width, 1122.52, 0.01);
    EXPECT_EQ(OptionsInPixels(PictureFormat::kPng, a4, 96.0).size, (Size{1123.0, 794.0}));
    const PictureOptions pdf = OptionsInPixels(PictureFormat::kPdf, a4, 96.0);
    EXPECT_NEAR(pdf.size.width, 841.89, 0.01);  // points
    EXPECT_EQ(OptionsInPixels(PictureFormat::kSvg, {10.4, 9.6}, 300.0).size, (Size{10.0, 10.0}));
}

}  // namespace
}  // namespace kvx::plot
