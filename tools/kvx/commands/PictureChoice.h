// SPDX-License-Identifier: MIT
//
// What the commands that draw have in common: where the picture goes, its size and colours, the bounds and
// scales of its axes, and files with graph settings.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <KvxDevCommon01/graph/AxisMapping.h>
#include <KvxDevCommon01/graph/GraphColorInfo.h>
#include <KvxDevCommon01/graph/GraphInfo.h>
#include <KvxPlot01/Picture.h>

#include "cli/Command.h"
#include "cli/OutputFormat.h"

namespace kvx::tool {

struct PictureChoice {
    OutputChoice output;
    std::string size = "800x500";
    double pixelsPerInch = 96.0;
    std::optional<std::string> scheme;
    std::optional<std::string> title;
    std::string settings;       ///< file to take colours and configuration from; empty for none
    std::string storeSettings;  ///< file to store them in; empty for none
};

void AddPictureOptions(Command command, PictureChoice* choice);

/// What the choice comes to.
struct PictureTarget {
    plot::PictureFormat format;
    plot::PictureOptions options;
    CGraphInfo settings;
    CGraphColorInfo::OUTPUT_KIND colors;  ///< the set of the settings that is used
    std::optional<std::wstring> title = {};
};

/// Throws ValueError for what cannot be used, such as a file to write that is one of the `inputs`, and
/// Failure when the settings cannot be read.
PictureTarget ResolvePicture(const PictureChoice& choice, const std::vector<std::string>& inputs);

/// Stores the settings if asked to and draws the picture; throws Failure.
void WritePicture(const PictureChoice& choice, const PictureTarget& target,
                  const std::function<void(plot::Canvas&)>& draw);

/// How an axis is to be scaled.
struct AxisChoice {
    std::string range;  ///< "FROM,TO", one of them may be missing; empty for automatic bounds
    std::string scale = "auto";
};

/// The options --AXIS and --AXIS-scale; `unit` tells in which unit the bounds are.
void AddAxisOptions(Command command, const std::string& axis, const std::string& unit, AxisChoice* choice);

/// What the options of an axis say; a bound or form that they leave open has no value. An axis with a bound
/// that is not above 0 is linear.
struct AxisBounds {
    std::optional<double> low;
    std::optional<double> high;
    std::optional<AxisForm> form;
};

/// Throws ValueError for bounds that are no numbers or not in order.
AxisBounds ResolveAxis(const std::string& axis, const AxisChoice& choice);

}  // namespace kvx::tool
