// SPDX-License-Identifier: MIT
#include <KvxPlot01/GraphLook.h>

namespace kvx::plot {
void ApplyScheme(ColorScheme scheme, GraphLook& look) {
    look.output =
        scheme == ColorScheme::kPrinter ? CGraphColorInfo::OUTPUT_PRINTER : CGraphColorInfo::OUTPUT_DISPLAY;
    CGraphColorInfo& colors = *look.settings.GetGraphColorInfo();
    if (scheme == ColorScheme::kWhite) colors.SetDefault2(look.output);
    if (scheme == ColorScheme::kBlack) colors.SetDefault1(look.output);
}

GraphLook LookOf(ColorScheme scheme) {
    GraphLook look;
    ApplyScheme(scheme, look);
    return look;
}

}  // namespace kvx::plot
