// SPDX-License-Identifier: MIT
//
// Texts in their places: how large one is, how much of it fits, what it covers. Pure functions but for the
// measure, safe from any thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <KvxPlot01/Canvas.h>
#include <KvxPlot01/Export.h>
#include <KvxPlot01/Geometry.h>

namespace kvx::plot {

struct PlacedText {
    std::wstring text;
    Point anchor;
    TextStyle style;  ///< without its colour
    Rect box;         ///< what the text covers
};

/// Of a longer text no more letters are measured or shown.
inline constexpr std::size_t kMostLetters = 300;

/// The text with its box; a vertical one is turned about its anchor.
KVX_PLOT_API PlacedText PlaceText(std::wstring text, Point anchor, const TextStyle& style,
                                  const TextMeasure& measure);
/// The text, or as much of its beginning and end, by which names of channels differ, as fits into `width`
/// with an ellipsis between; of a text with markup only the beginning. Empty when not even that fits.
KVX_PLOT_API std::wstring CutText(std::wstring_view text, double letterSize, double width,
                                  const TextMeasure& measure);
/// The size of letters that suits a picture or pane of that size: 9 points on 600 by 375 points.
KVX_PLOT_API double LetterSizeFor(Size size, double pointLength);

}  // namespace kvx::plot
