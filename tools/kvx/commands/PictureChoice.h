// SPDX-License-Identifier: MIT
//
// What the commands that draw have in common: where the picture goes, its size and colours, the bounds and
// scales of its axes, and files with graph settings.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include <KvxPlot01/GraphLook.h>
#include <KvxPlot01/GraphSheet.h>
#include <KvxPlot01/Picture.h>
#include <KvxPlot01/RecordGraph.h>

#include "cli/Batch.h"
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

/// The formats of pictures, that of "-" first.
std::span<const OutputFormat> PictureFormats();

/// Describes the output of each input of `batch` and how it looks.
void AddPictureOptions(Command command, PictureChoice* choice, BatchOptions* batch);

/// Throws ValueError when standard input would be read twice, as an input or one of the `others`; UsageError
/// when several pictures would store their settings.
void RequirePictures(const PictureChoice& choice, const BatchOptions& batch,
                     const std::vector<std::string>& others);

/// What the choice comes to.
struct PictureTarget {
    plot::PictureFormat format;
    plot::PictureOptions options;
    plot::GraphLook look;
    std::optional<std::wstring> title = {};
};

/// Throws ValueError for what cannot be used, such as a file to write that is one of the `inputs`, and
/// Failure when the settings cannot be read.
PictureTarget ResolvePicture(const PictureChoice& choice, const std::vector<std::string>& inputs);

/// Stores the settings if asked to, draws the sheet and tells of it on `out`; throws Failure.
void WriteSheet(const PictureChoice& choice, const PictureTarget& target, const plot::GraphSheet& sheet,
                ByteStream& out);

/// How an axis is to be scaled.
struct AxisOptions {
    std::string range;  ///< "FROM,TO", one of them may be missing; empty for automatic bounds
    std::string scale = "auto";
};

/// The options --AXIS and --AXIS-scale; `unit` tells in which unit the bounds are.
void AddAxisOptions(Command command, const std::string& axis, const std::string& unit, AxisOptions* options);

/// The choice that the options of both axes and --unit stand for. Throws ValueError for bounds that are no
/// numbers or not in order, and for an unknown unit.
plot::RecordGraphChoice ResolveGraphs(const AxisOptions& x, const AxisOptions& y, const std::string& unit);

}  // namespace kvx::tool
