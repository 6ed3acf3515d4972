// SPDX-License-Identifier: MIT
//
// kvx show-value: a value as the suite shows it, in every unit of its dimension.
#include <fmt/format.h>
#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/platform/Locale.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/ConvData.h>
#include <KvxDevCommon01/units/ShownValue.h>
#include <KvxDevCommon01/units/UnitQuery.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "commands/Commands.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

struct ShowOptions {
    std::string value;
    std::string unit;
    std::string in;
    std::string suffix = "none";
    std::optional<std::string> format;
    std::optional<std::string> locale;
    bool isDifference = false;
};

/// The units asked for, else all that the first member can be given in.
std::vector<CUnitCtrl> UnitsToShow(const ShowOptions& options, const CUnitCtrl& from) {
    std::vector<CUnitCtrl> units;
    for (const std::string& name : options.in.empty() ? std::vector<std::string>() : SplitList(options.in)) {
        units.push_back(RequireUnit(name, DimensionOf(from)));
        if (!IsConvertible(from, units.back())) {
            throw Failure(fmt::format("{} does not convert to {}: they are of different dimensions",
                                      Quote(options.unit), Quote(name)));
        }
    }
    return units.empty() ? UnitsAlike(from) : units;
}

void RunShowValue(const ShowOptions& options, ByteStream& out) {
    const EntryUnit entry = RequireEntryUnit(options.unit);
    const CUnitCtrl& from = entry.unit;
    const bool isTemperature = DimensionOf(from) == CUnitCtrl::DIM_TEMPERATURE;
    const bool isAbsolute = from.IsSingle() && !options.isDifference;
    const double standard = from.ConvItoD(ParseArgument(options.value) * entry.scale, 1.0, isAbsolute);
    if (!std::isfinite(standard))
        throw Failure(fmt::format("{} {} leaves the range of numbers", Quote(options.value), options.unit));
    const CValConv::UNIT_SUFFIX suffix = RequireSuffix(options.suffix, from);
    std::optional<std::wstring> format;
    if (options.format && !(format = FromUtf8(*options.format)))
        throw ValueError(fmt::format("--format: {} is not valid UTF-8", Quote(*options.format)));
    if (format && !IsNumberFormat(*format))
        throw ValueError(fmt::format("--format: {} is not a format of one number, such as %.2f, %8.3e or %g",
                                     Quote(*options.format)));
    if (options.locale && !FindDecimalSign(options.locale->c_str()))
        throw ValueError(fmt::format("--locale: there is no locale {} on this host", Quote(*options.locale)));
    if (options.isDifference && !isTemperature)
        throw ValueError(
            fmt::format("--difference is for temperatures, and {} is not one", Quote(options.unit)));

    const char* const locale = options.locale ? options.locale->c_str() : nullptr;
    std::vector<std::vector<std::string>> lines;
    for (const CUnitCtrl& to : UnitsToShow(options, from)) {
        const ShownValue shown = ShowIn(to, standard, {format, suffix, isAbsolute, locale});
        lines.push_back({shown.value, shown.unit});
    }
    WriteText(out, FormatTable({Align::right, Align::left}, lines));
}

}  // namespace

void AddShowValue(Command app) {
    const auto options = std::make_shared<ShowOptions>();
    Command command = app.AddCommand("show-value", "Show a value as the suite's programs do");
    command.AddOption("VALUE", options->value, "The number; an amplitude from zero to peak").Required();
    command.AddOption("UNIT", options->unit, "Its unit: g, m/s2, degC, (m/s2)2/Hz ...").Required();
    command.AddOption("--in", options->in,
                      "Units to show it in, a comma list; without, all of its dimension");
    command
        .AddOption("--suffix", options->suffix,
                   "Show the amplitude as 0-p, p-p (twice the number) or rms, as is usual for the "
                   "dimension (usual), or without a word (none, the default)")
        .Type("SUFFIX")
        .Suggest(SuffixNames());
    command.AddOption("--format", options->format,
                      "Format of one number, such as %.2f or '%8.3e V'. Without, %.7g or what is customary "
                      "for the unit");
    command.AddOption("--locale", options->locale, "Locale whose decimal sign is used: de_DE, Russian ...");
    command.AddFlag("--difference", options->isDifference, "A difference of temperatures, not a temperature");
    command.SetFooter("", R"(
kvx show-value 1 g
kvx show-value 0.5 mm --suffix usual --in mm,inch
kvx show-value 1234.5 Hz --format '%.3e' --locale de_DE
)");
    command.OnRun([=](ByteStream& out) { RunShowValue(*options, out); });
}

}  // namespace kvx::tool
