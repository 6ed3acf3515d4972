// SPDX-License-Identifier: MIT
//
// The test framework with a canvas that notes what is drawn on it, whose letters are all alike.
#pragma once

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxPlot01/Canvas.h>
#include <KvxPlot01/Chart.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

namespace kvx::plot {

inline constexpr double kNone = kvx::kNoValue<double>;
inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

class RecordingCanvas : public Canvas {
public:
    struct Shape {
        Path path;
        Pen pen;  // a fill has width 0
        std::vector<Rect> clips;
    };
    struct Text {
        std::wstring text;
        Point anchor;
        COLORREF color;
    };

    explicit RecordingCanvas(Size size = {800.0, 500.0}) : size_(size) {}

    Size Measure(std::wstring_view text, double letterSize) const override {
        return {0.6 * letterSize * static_cast<double>(text.size()), 1.25 * letterSize};
    }
    Size GetSize() const override { return size_; }
    double GetPointLength() const override { return 4.0 / 3.0; }
    double GetFineness() const override { return 1.0; }
    double Sharp(double coordinate, double) const override { return coordinate; }
    void Fill(const Path& path, COLORREF color) override { shapes.push_back({path, {color, 0.0}, clips_}); }
    void Stroke(const Path& path, const Pen& pen, bool) override { shapes.push_back({path, pen, clips_}); }
    void DrawText(std::wstring_view text, Point anchor, const TextStyle& style) override {
        texts.push_back({std::wstring(text), anchor, style.color});
    }
    void DrawImage(const Rect&, std::span<const COLORREF>, std::int64_t, std::int64_t, bool) override {}
    void PushClip(const Rect& rect) override { clips_.push_back(rect); }
    void PopClip() override { clips_.pop_back(); }

    /// The shapes of that colour.
    std::vector<Shape> Of(COLORREF color) const {
        std::vector<Shape> found;
        std::ranges::copy_if(shapes, std::back_inserter(found),
                             [color](const Shape& shape) { return shape.pen.color == color; });
        return found;
    }
    std::vector<std::wstring> Texts() const {
        std::vector<std::wstring> all;
        for (const Text& text : texts) all.push_back(text.text);
        return all;
    }

    std::vector<Shape> shapes;
    std::vector<Text> texts;

private:
    Size size_;
    std::vector<Rect> clips_;
};

/// Samples over 0, 1, 2 ...
inline CurveSamples SamplesOf(const std::vector<double>& y) {
    CurveSamples samples;
    samples.y = y;
    return samples;
}

}  // namespace kvx::plot
