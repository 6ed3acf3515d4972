// SPDX-License-Identifier: MIT
//
// How graphs look: colours and configuration, as a graph settings file (.gci2) holds them, or those of a
// colour scheme.
#pragma once

#include <array>
#include <string_view>

#include <KvxDevCommon01/graph/GraphColorInfo.h>
#include <KvxDevCommon01/graph/GraphInfo.h>
#include <KvxPlot01/Export.h>

namespace kvx::plot {

/// Settings, and which of their two sets of colours is used.
struct GraphLook {
    CGraphInfo settings;
    CGraphColorInfo::OUTPUT_KIND output = CGraphColorInfo::OUTPUT_DISPLAY;
};

/// The default colours: on white or on black ground for a display, and for a printer.
enum class ColorScheme { kWhite, kBlack, kPrinter };

/// The schemes and how a person calls them.
struct NamedColorScheme {
    std::string_view name;
    ColorScheme scheme;
};
inline constexpr std::array kColorSchemes = {
    NamedColorScheme{"white", ColorScheme::kWhite},
    NamedColorScheme{"black", ColorScheme::kBlack},
    NamedColorScheme{"printer", ColorScheme::kPrinter},
};

/// Gives the look the colours of a scheme; those for the printer are the settings' own.
KVX_PLOT_API void ApplyScheme(ColorScheme scheme, GraphLook& look);
/// Default settings with the colours of a scheme.
KVX_PLOT_API GraphLook LookOf(ColorScheme scheme);

}  // namespace kvx::plot
