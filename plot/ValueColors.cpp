// SPDX-License-Identifier: MIT
#include <KvxPlot01/ValueColors.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <numbers>

namespace kvx::plot {
namespace {

/// A colour in the cylindrical form of Oklab (B. Ottosson, "A perceptual color space for image processing",
/// 2020), in which distances are about as large as they look.
struct Perceived {
    double lightness;  ///< 0 black to 1 white
    double chroma;
    double hueDegrees;
};

// Evenly spaced stops.
constexpr Perceived kStops[] = {
    {0.20, 0.09, 290.0}, {0.35, 0.14, 275.0}, {0.50, 0.12, 240.0},
    {0.65, 0.12, 185.0}, {0.80, 0.16, 142.0}, {0.95, 0.17, 108.0},
};

struct LinearRgb {
    double red, green, blue;
};

LinearRgb ToLinear(const Perceived& color) {
    const double hue = color.hueDegrees * std::numbers::pi / 180.0;
    const double a = color.chroma * std::cos(hue);
    const double b = color.chroma * std::sin(hue);
    const auto cube = [](double x) { return x * x * x; };
    const double l = cube(color.lightness + 0.3963377774 * a + 0.2158037573 * b);
    const double m = cube(color.lightness - 0.1055613458 * a - 0.0638541728 * b);
    const double s = cube(color.lightness - 0.0894841775 * a - 1.2914855480 * b);
    return {4.0767416621 * l - 3.3077115913 * m + 0.2309699292 * s,
            -1.2684380046 * l + 2.6097574011 * m - 0.3413193965 * s,
            -0.0041960863 * l - 0.7034186147 * m + 1.7076147010 * s};
}

bool CanBeShown(const LinearRgb& color) {
    const auto [low, high] = std::minmax({color.red, color.green, color.blue});
    return low >= 0.0 && high <= 1.0;
}

/// The most vivid colour of that lightness and hue, up to the chroma wanted, that a screen can show.
LinearRgb Shown(Perceived color) {
    if (const LinearRgb whole = ToLinear(color); CanBeShown(whole)) return whole;
    double low = 0.0, high = color.chroma;
    for (int step = 0; step < 20; ++step) {
        color.chroma = (low + high) / 2.0;
        (CanBeShown(ToLinear(color)) ? low : high) = color.chroma;
    }
    color.chroma = low;
    return ToLinear(color);
}

/// A part of full light as a byte, by the transfer function of sRGB.
std::uint32_t Encoded(double light) {
    const double part = std::clamp(light, 0.0, 1.0);
    const double coded = part <= 0.0031308 ? 12.92 * part : 1.055 * std::pow(part, 1.0 / 2.4) - 0.055;
    return static_cast<std::uint32_t>(std::lround(255.0 * coded));
}

std::array<COLORREF, kValueColors> MakeColors() {
    constexpr std::size_t kLastStop = std::size(kStops) - 1;
    std::array<COLORREF, kValueColors> colors{};
    for (std::size_t i = 0; i < kValueColors; ++i) {
        const double place = static_cast<double>(i * kLastStop) / static_cast<double>(kValueColors - 1);
        const std::size_t stop = std::min(static_cast<std::size_t>(place), kLastStop - 1);
        const double part = place - static_cast<double>(stop);
        const Perceived& a = kStops[stop];
        const Perceived& b = kStops[stop + 1];
        const LinearRgb color =
            Shown({std::lerp(a.lightness, b.lightness, part), std::lerp(a.chroma, b.chroma, part),
                   std::lerp(a.hueDegrees, b.hueDegrees, part)});
        colors[i] = Rgb(Encoded(color.red), Encoded(color.green), Encoded(color.blue));
    }
    return colors;
}

}  // namespace

const std::array<COLORREF, kValueColors>& ValueColors() {
    static const std::array<COLORREF, kValueColors> colors = MakeColors();
    return colors;
}

}  // namespace kvx::plot
