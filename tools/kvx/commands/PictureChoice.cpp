// SPDX-License-Identifier: MIT
#include "commands/PictureChoice.h"

#include <algorithm>
#include <array>
#include <string_view>

#include <KvxDevCommon01/graph/GraphSettings.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/Text.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/StandardStreams.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

using plot::PictureFormat;

constexpr std::array<OutputFormat, 4> kPictureFormats = {OwnFormat::svg, OwnFormat::pdf, OwnFormat::png,
                                                         OwnFormat::jpeg};
constexpr std::array<OutputFormat, 1> kSettingsFormats = {OwnFormat::settings};

plot::Size SizeInPixels(const PictureChoice& choice) {
    if (const auto size = plot::ParsePictureSize(choice.size, choice.pixelsPerInch)) return *size;
    throw ValueError("--size: " + Quote(choice.size) + " is no size such as 800x500, and not " +
                     Names(plot::kPapers));
}

std::optional<double> BoundOf(const std::string& text) {
    return text.empty() ? std::nullopt : std::optional(ParseArgument(text));
}

plot::AxisChoice ResolveAxis(const std::string& axis, const AxisOptions& options) {
    plot::AxisChoice choice;
    choice.name = "--" + axis;
    if (options.scale != "auto")
        choice.form = options.scale == "log" ? AxisForm::kLogarithmic : AxisForm::kLinear;
    if (options.range.empty()) return choice;
    const std::vector<std::string> pieces = SplitList(options.range);
    if (pieces.size() != 2) throw ValueError(choice.name + ": " + Quote(options.range) + " is not FROM,TO");
    choice.low = BoundOf(pieces[0]);
    choice.high = BoundOf(pieces[1]);
    if (choice.low && choice.high && !(*choice.low < *choice.high))
        throw ValueError(choice.name + ": " + pieces[0] + " is not below " + pieces[1]);
    const bool isAboveZero = choice.low.value_or(1) > 0 && choice.high.value_or(1) > 0;
    if (choice.form == AxisForm::kLogarithmic && !isAboveZero)
        throw ValueError(choice.name + ": a logarithmic axis needs bounds above 0");
    return choice;
}

}  // namespace

std::span<const OutputFormat> PictureFormats() {
    return kPictureFormats;
}

void AddPictureOptions(Command command, PictureChoice* choice, BatchOptions* batch) {
    AddOutputOptions(command, "Picture to write, of several inputs a folder", kPictureFormats, &batch->output)
        .Required();
    AddBatchOptions(command, batch);
    command.AddOption("--size", choice->size, "Width and height in pixels, or A4 or A3 on its long side")
        .Type("WxH")
        .ShowDefault()
        .Suggest({"A4", "A3"});
    AddPositive(command, "--dpi", "N", choice->pixelsPerInch,
                "Pixels per inch; letters and lines grow with it")
        .ShowDefault();
    command
        .AddOption("--scheme", choice->scheme,
                   "Colours: on white (the default) or black ground, or those for the printer")
        .Type("NAME")
        .OneOf(NameList(plot::kColorSchemes));
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

void RequirePictures(const PictureChoice& choice, const BatchOptions& batch,
                     const std::vector<std::string>& others) {
    std::vector<std::string> inputs = batch.inputs;
    inputs.insert(inputs.end(), others.begin(), others.end());
    inputs.push_back(choice.settings);
    RequireOneStandardInput(inputs);
    if (batch.inputs.size() > 1 && !choice.storeSettings.empty())
        throw UsageError("--store-settings is for a single picture");
}

PictureTarget ResolvePicture(const PictureChoice& choice, const std::vector<std::string>& inputs) {
    for (const std::string& input : inputs) {
        RequireAnotherFile(input, choice.output.name);
        RequireAnotherFile(input, choice.storeSettings);
    }
    if (choice.storeSettings == choice.output.name)
        throw ValueError("--store-settings: " + Quote(choice.output.name) + " is the picture");
    if (!choice.storeSettings.empty()) FormatOf({choice.storeSettings, {}}, kSettingsFormats);
    const std::string_view end = EndOf(FormatOf(choice.output, kPictureFormats));
    const PictureFormat format = plot::PictureFormatOf(WidePath(end)).value();
    PictureTarget target = {
        format, plot::OptionsInPixels(format, SizeInPixels(choice), choice.pixelsPerInch), {}};
    if (choice.title) {
        target.title = FromUtf8(*choice.title);
        if (!target.title) throw ValueError("--title: " + Quote(*choice.title) + " is not valid UTF-8");
    }
    if (!choice.settings.empty()) {
        target.look.settings = Doing("read", choice.settings, [&] {
            InputFile file(WidePath(InputPath(choice.settings)));
            return LoadGraphSettings(file);
        });
    }
    if (choice.scheme || choice.settings.empty()) {
        const auto& named = Choose(plot::kColorSchemes, "--scheme", choice.scheme.value_or("white"));
        plot::ApplyScheme(named.scheme, target.look);
    }
    return target;
}

void WriteSheet(const PictureChoice& choice, const PictureTarget& target, const plot::GraphSheet& sheet,
                ByteStream& out) {
    const std::string& output = choice.output.name;
    if (!choice.storeSettings.empty()) {
        Doing("write", choice.storeSettings, [&] {
            OutputTarget file(choice.storeSettings);
            StoreGraphSettings(WidePath(file.Path()), target.look.settings);
            file.Deliver();
        });
    }
    Doing("write", output, [&] {
        OutputTarget file(output);
        plot::WritePicture(WidePath(file.Path()), target.format, target.options,
                           [&](plot::Canvas& canvas) { sheet.Draw(canvas); });
        file.Deliver();
    });
    const plot::Size& size = target.options.size;
    const bool storesToStream = IsStandardStream(choice.storeSettings);
    WriteText(ReportStream(storesToStream ? choice.storeSettings : output, out),
              OutputName(output) + ": " + Count(static_cast<long long>(sheet.Count()), "graph") + ", " +
                  FormatNumber(size.width) + " x " + FormatNumber(size.height) +
                  (target.format == PictureFormat::kPdf ? " points\n" : " pixels\n"));
}

void AddAxisOptions(Command command, const std::string& axis, const std::string& unit, AxisOptions* options) {
    command.AddOption("--" + axis, options->range, "Bounds of that axis in " + unit).Type("FROM,TO");
    command
        .AddOption(
            "--" + axis + "-scale", options->scale,
            "Linear or logarithmic; auto: linear with a bound that is not above 0, else what suits the "
            "data")
        .Type("SCALE")
        .OneOf({"auto", "linear", "log"});
}

plot::RecordGraphChoice ResolveGraphs(const AxisOptions& x, const AxisOptions& y, const std::string& unit) {
    plot::RecordGraphChoice choice;
    choice.x = ResolveAxis("x", x);
    choice.y = ResolveAxis("y", y);
    if (choice.y.low.has_value() != choice.y.high.has_value()) throw ValueError("--y needs both bounds");
    if (!unit.empty()) choice.unit = RequireUnit(unit);
    return choice;
}

}  // namespace kvx::tool
