// SPDX-License-Identifier: MIT
#include "commands/PictureChoice.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <new>
#include <string_view>

#include <KvxDevCommon01/graph/GraphSettings.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/Text.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/StandardStreams.h"

namespace kvx::tool {
namespace {

using plot::PictureError;
using plot::PictureFormat;

constexpr std::array kPictureFormats = {OutputFormat::svg, OutputFormat::pdf, OutputFormat::png,
                                        OutputFormat::jpeg};
constexpr std::array kSettingsFormats = {OutputFormat::settings};

constexpr double kMillimetresPerInch = 25.4;
constexpr double kPointsPerInch = 72.0;

struct Paper {
    std::string_view name;
    double widthMm;
    double heightMm;
};
constexpr std::array kPapers = {Paper{"A4", 297.0, 210.0}, Paper{"A3", 420.0, 297.0}};

/// Colours of the default settings: on black or on white for the display, and for the printer.
struct Scheme {
    std::string_view name;
    CGraphColorInfo::OUTPUT_KIND colors;
    void (CGraphColorInfo::*apply)(CGraphColorInfo::OUTPUT_KIND);
};
constexpr std::array kSchemes = {
    Scheme{"white", CGraphColorInfo::OUTPUT_DISPLAY, &CGraphColorInfo::SetDefault2},
    Scheme{"black", CGraphColorInfo::OUTPUT_DISPLAY, &CGraphColorInfo::SetDefault1},
    Scheme{"printer", CGraphColorInfo::OUTPUT_PRINTER, nullptr},
};

PictureFormat PictureFormatOf(const OutputChoice& output) {
    switch (FormatOf(output, kPictureFormats)) {
        case OutputFormat::pdf:
            return PictureFormat::kPdf;
        case OutputFormat::png:
            return PictureFormat::kPng;
        case OutputFormat::jpeg:
            return PictureFormat::kJpeg;
        default:
            return PictureFormat::kSvg;
    }
}

/// Width and height of the picture: pixels as the option gives them, or those of the paper.
plot::Size SizeInPixels(const PictureChoice& choice) {
    const auto paper = std::ranges::find(kPapers, choice.size, &Paper::name);
    if (paper != kPapers.end()) {
        const double pixelsPerMm = choice.pixelsPerInch / kMillimetresPerInch;
        return {paper->widthMm * pixelsPerMm, paper->heightMm * pixelsPerMm};
    }
    const std::size_t cross = choice.size.find('x');
    try {
        if (cross != std::string::npos) {
            return {ParseArgument(std::string_view(choice.size).substr(0, cross)),
                    ParseArgument(std::string_view(choice.size).substr(cross + 1))};
        }
    } catch (const ValueError&) {
        // What is no pair of numbers is told below.
    }
    throw ValueError("--size: " + Quote(choice.size) + " is no size such as 800x500, and not " +
                     Names(kPapers));
}

plot::PictureOptions OptionsOf(const PictureChoice& choice, PictureFormat format) {
    plot::PictureOptions options;
    options.pixelsPerInch = choice.pixelsPerInch;
    options.size = SizeInPixels(choice);
    const double scale = format == PictureFormat::kPdf ? kPointsPerInch / choice.pixelsPerInch : 1.0;
    options.size.width *= scale;
    options.size.height *= scale;
    if (format != PictureFormat::kPdf) {
        options.size.width = std::round(options.size.width);
        options.size.height = std::round(options.size.height);
    }
    return options;
}

CGraphInfo LoadSettings(const std::string& path) {
    return Doing("read", path, [&] {
        InputFile file(WidePath(InputPath(path)));
        return LoadGraphSettings(file);
    });
}

void StoreSettings(const std::string& path, CGraphInfo settings) {
    Doing("write", path, [&] {
        OutputTarget target(path);
        if (!settings.StoreGraphInfo(WidePath(target.Path()), nullptr, 0))
            throw Error(ErrorKind::kBadValue, "it cannot be written");
        target.Deliver();
    });
}

std::optional<double> BoundOf(const std::string& text) {
    return text.empty() ? std::nullopt : std::optional(ParseArgument(text));
}

}  // namespace

void AddPictureOptions(Command command, PictureChoice* choice) {
    AddOutputOptions(command, "Picture to write", kPictureFormats, &choice->output).Required();
    command.AddOption("--size", choice->size, "Width and height in pixels, or A4 or A3 on its long side")
        .Type("WxH")
        .ShowDefault();
    command.AddOption("--dpi", choice->pixelsPerInch, "Pixels per inch; letters and lines grow with it")
        .Type("N")
        .Check(PositiveNumber())
        .ShowDefault();
    command
        .AddOption("--scheme", choice->scheme,
                   "Colours: on white (the default) or black ground, or those for the printer")
        .Type("NAME")
        .OneOf({"white", "black", "printer"});
    command.AddOption("--title", choice->title, "Title; without it the text of the file's header")
        .Type("TEXT");
    command
        .AddOption("--settings", choice->settings,
                   "Take colours and configuration from this graph settings file (.gci2)")
        .Type("FILE");
    command
        .AddOption("--store-settings", choice->storeSettings,
                   "Store the colours and configuration of this picture as a graph settings file")
        .Type("FILE");
}

PictureTarget ResolvePicture(const PictureChoice& choice, const std::vector<std::string>& inputs) {
    for (const std::string& input : inputs) {
        RequireAnotherFile(input, choice.output.name);
        RequireAnotherFile(input, choice.storeSettings);
    }
    if (choice.storeSettings == choice.output.name)
        throw ValueError("--store-settings: " + Quote(choice.output.name) + " is the picture");
    if (!choice.storeSettings.empty()) FormatOf({choice.storeSettings, {}}, kSettingsFormats);
    const PictureFormat format = PictureFormatOf(choice.output);
    PictureTarget target = {format, OptionsOf(choice, format), {}, CGraphColorInfo::OUTPUT_DISPLAY};
    if (choice.title) {
        target.title = FromUtf8(*choice.title);
        if (!target.title) throw ValueError("--title: " + Quote(*choice.title) + " is not valid UTF-8");
    }
    if (!choice.settings.empty()) target.settings = LoadSettings(choice.settings);
    if (choice.scheme || choice.settings.empty()) {
        const Scheme& scheme = Choose(kSchemes, "--scheme", choice.scheme.value_or("white"));
        target.colors = scheme.colors;
        if (scheme.apply != nullptr) (target.settings.GetGraphColorInfo()->*scheme.apply)(scheme.colors);
    }
    return target;
}

void WritePicture(const PictureChoice& choice, const PictureTarget& target,
                  const std::function<void(plot::Canvas&)>& draw) {
    if (!choice.storeSettings.empty()) StoreSettings(choice.storeSettings, target.settings);
    Doing("write", choice.output.name, [&] {
        OutputTarget file(choice.output.name);
        const plot::PictureResult result =
            plot::WritePicture(WidePath(file.Path()), target.format, target.options, draw);
        switch (result.error) {
            case PictureError::kNone:
                return file.Deliver();
            case PictureError::kBadOptions:
                throw Error(ErrorKind::kBadValue, "the picture would be too small or too large");
            case PictureError::kNoMemory:
                throw std::bad_alloc();
            case PictureError::kNotDrawn:
                throw Error(ErrorKind::kBadValue, "it could not be drawn");
            case PictureError::kNotWritten:
                throw result.file.value_or(CFileException());
        }
    });
}

void AddAxisOptions(Command command, const std::string& axis, const std::string& unit, AxisChoice* choice) {
    command.AddOption("--" + axis, choice->range, "Bounds of that axis in " + unit).Type("FROM,TO");
    command
        .AddOption(
            "--" + axis + "-scale", choice->scale,
            "Linear or logarithmic; auto: linear with a bound that is not above 0, else what suits the "
            "data")
        .Type("SCALE")
        .OneOf({"auto", "linear", "log"});
}

AxisBounds ResolveAxis(const std::string& axis, const AxisChoice& choice) {
    AxisBounds bounds;
    if (choice.scale != "auto") {
        bounds.form = choice.scale == "log" ? AxisForm::kLogarithmic : AxisForm::kLinear;
    }
    if (choice.range.empty()) return bounds;
    const std::vector<std::string> pieces = SplitList(choice.range);
    if (pieces.size() != 2) throw ValueError("--" + axis + ": " + Quote(choice.range) + " is not FROM,TO");
    bounds.low = BoundOf(pieces[0]);
    bounds.high = BoundOf(pieces[1]);
    if (bounds.low && bounds.high && !(*bounds.low < *bounds.high)) {
        throw ValueError("--" + axis + ": " + pieces[0] + " is not below " + pieces[1]);
    }
    if (bounds.low.value_or(1) <= 0 || bounds.high.value_or(1) <= 0) {
        if (bounds.form == AxisForm::kLogarithmic)
            throw ValueError("--" + axis + ": a logarithmic axis needs bounds above 0");
        bounds.form = AxisForm::kLinear;
    }
    return bounds;
}

}  // namespace kvx::tool
