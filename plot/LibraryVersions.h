// SPDX-License-Identifier: MIT
//
// Which libraries of others draw in the running program. Safe from any thread.
#pragma once

#include <vector>

#include <KvxDevCommon01/platform/Version.h>
#include <KvxPlot01/Export.h>

namespace kvx::plot {

/// Cairo and Pango in the versions that are loaded, and the JPEG library in that which this one was built
/// with, because it does not tell its version.
KVX_PLOT_API std::vector<LibraryVersion> PlotLibraries();

}  // namespace kvx::plot
