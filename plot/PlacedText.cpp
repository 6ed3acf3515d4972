// SPDX-License-Identifier: MIT
#include <KvxPlot01/PlacedText.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace kvx::plot {
namespace {

constexpr double kLetterPoints = 9.0;
constexpr Size kUsualPoints{600.0, 375.0};  // the picture that has letters of that size

/// Where a text of that extent begins when this part of it lies at 0.
double StartOf(Align align, double extent) {
    switch (align) {
        case Align::kMiddle:
            return -extent / 2.0;
        case Align::kEnd:
            return -extent;
        default:
            return 0.0;
    }
}

}  // namespace

PlacedText PlaceText(std::wstring text, Point anchor, const TextStyle& style, const TextMeasure& measure) {
    const Size size = measure.Measure(text, style.size);
    const double along = StartOf(style.across, size.width);
    const double down = StartOf(style.down, size.height);
    const Rect box = style.isVertical ? Rect{anchor.x + down, anchor.y - along - size.width,
                                             anchor.x + down + size.height, anchor.y - along}
                                      : Rect{anchor.x + along, anchor.y + down, anchor.x + along + size.width,
                                             anchor.y + down + size.height};
    return {std::move(text), anchor, style, box};
}

std::wstring CutText(std::wstring_view text, double letterSize, double width, const TextMeasure& measure) {
    const std::wstring whole(text.substr(0, kMostLetters));
    if (text.size() <= kMostLetters && measure.Measure(whole, letterSize).width <= width) return whole;
    // An end without its beginning would lose markup.
    const bool hasMarkup = text.find(L'#') != std::wstring_view::npos;
    const auto cut = [&](std::size_t letters) {
        const std::size_t end = hasMarkup ? 0 : letters / 2;
        return whole.substr(0, letters - end).append(L"#n…").append(text.substr(text.size() - end));
    };
    const auto fits = [&](std::size_t letters) {
        return measure.Measure(cut(letters), letterSize).width <= width;
    };
    if (!fits(0)) return {};
    std::size_t fitting = 0;
    for (std::size_t tooMany = whole.size() + 1; tooMany - fitting > 1;) {
        const std::size_t middle = fitting + (tooMany - fitting) / 2;
        (fits(middle) ? fitting : tooMany) = middle;
    }
    // Half a markup would show as a "#".
    if (fitting > 0 && whole[fitting - 1] == L'#') --fitting;
    return cut(fitting);
}

double LetterSizeFor(Size size, double pointLength) {
    const double ratio = std::min(size.width / (kUsualPoints.width * pointLength),
                                  size.height / (kUsualPoints.height * pointLength));
    return kLetterPoints * pointLength * std::clamp(std::sqrt(std::max(ratio, 0.0)), 0.75, 4.0);
}

}  // namespace kvx::plot
