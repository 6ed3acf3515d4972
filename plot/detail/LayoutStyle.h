// SPDX-License-Identifier: MIT
//
// What the parts of a chart are laid out with.
#pragma once

#include <cmath>
#include <string_view>

#include <KvxPlot01/Canvas.h>
#include <KvxPlot01/Geometry.h>

namespace kvx::plot::detail {

inline constexpr double kMinorPitchPoints = 3.5;  ///< least distance of minor ticks, in points

// Lengths over the size of the letters.
inline constexpr double kLineHeight = 1.25;    ///< of a line of text
inline constexpr double kOuterMargin = 0.7;    ///< around everything, and between the plot and the legend
inline constexpr double kTextGap = 0.45;       ///< between plot and numbers, numbers and title, in the legend
inline constexpr double kTitleLetters = 1.15;  ///< the letters of the title

inline constexpr double kNumberWidth = 1.5;   ///< of the numbers of X: what the shortest one counts as
inline constexpr double kNumberGap = 1.5;     ///< the least room between two of them
inline constexpr double kNumberPitch = 2.6;   ///< the least distance of two numbers of Y
inline constexpr double kBelowPlot = 0.65;    ///< from the plot to the numbers of X: clear of the lowest of Y
inline constexpr double kBelowNumbers = 0.2;  ///< from the numbers of X to its title
inline constexpr double kHalfNumberHeight = 0.5;  ///< what the highest number of Y reaches above the plot
inline constexpr double kHalfNumberWidth = 1.2;   ///< what the last number of X reaches beside it

inline constexpr double kSampleLength = 2.8;    ///< of a line in the legend
inline constexpr double kEntryHeight = 1.45;    ///< of a name in the legend
inline constexpr double kLeastNameWidth = 2.0;  ///< of a name there

/// Edges between pixels would be blurred lines.
inline double OnPixel(double coordinate) {
    return std::floor(coordinate) + 0.5;
}
inline Rect OnPixels(const Rect& rect) {
    return {OnPixel(rect.left), OnPixel(rect.top), OnPixel(rect.right), OnPixel(rect.bottom)};
}

/// The parts of a chart that there is room for, and what is common to their texts.
struct LayoutStyle {
    double letterSize = 0.0;  ///< in canvas units
    double pointLength = 1.0;
    const TextMeasure& measure;
    bool hasTitles = true;
    bool hasNumbers = true;

    /// A length in canvas units.
    double Ems(double letters) const { return letters * letterSize; }
    double WidthOf(std::wstring_view text) const { return measure.Measure(text, letterSize).width; }
};

}  // namespace kvx::plot::detail
