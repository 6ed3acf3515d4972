// SPDX-License-Identifier: MIT
#include <KvxPlot01/Canvas.h>

namespace kvx::plot {

TextMeasure::~TextMeasure() = default;

void Canvas::StrokeLine(Point from, Point to, const Pen& pen) {
    Path path;
    path.AddLine(from, to);
    Stroke(path, pen);
}

}  // namespace kvx::plot
