// SPDX-License-Identifier: MIT
//
// kvx units: the dimensions and units of the suite, and conversion between them.
#include <fmt/format.h>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include <KvxDevCommon01/text/NearNames.h>
#include <KvxDevCommon01/units/UnitQuery.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "commands/Commands.h"

namespace kvx::tool {
namespace {

constexpr std::size_t kCodeDigits = 8;

struct UnitsOptions {
    std::string dimension;
    std::string value;
    std::string from;
    std::string to;
};

/// The English names of the dimensions.
std::vector<std::string> DimensionNames() {
    std::vector<std::string> names;
    for (const CUnitCtrl::DIM_CODE dimension : AllDimensions()) names.push_back(DimensionText(dimension));
    return names;
}

/// The dimensions' names and the units'.
std::vector<std::string> NamesToAskFor() {
    std::vector<std::string> names = DimensionNames();
    for (const CUnitCtrl::DIM_CODE dimension : AllDimensions()) {
        names.push_back(DimensionDisplayName(dimension));
        for (const CUnitCtrl& unit : UnitsOf(dimension)) names.push_back(UnitText(unit));
    }
    return names;
}

/// The dimension's name for a person where it is not the English one, which always stands beside it.
std::string OtherName(CUnitCtrl::DIM_CODE dimension) {
    const std::string name = DimensionDisplayName(dimension);
    return name == DimensionText(dimension) ? std::string() : name;
}

std::string ListDimensions() {
    const bool isEnglish = CurrentLanguage() == Language::kEnglish;
    std::vector<std::vector<std::string>> lines = {{"code", "dimension", "standard", "units"}};
    std::vector<Align> columns = {Align::right, Align::left, Align::left, Align::left};
    if (!isEnglish) {
        lines.front().insert(lines.front().begin() + 2, "");
        columns.push_back(Align::left);
    }
    for (const CUnitCtrl::DIM_CODE dimension : AllDimensions()) {
        std::string units;
        for (const CUnitCtrl& unit : UnitsOf(dimension)) units += (units.empty() ? "" : " ") + UnitText(unit);
        lines.push_back({HexCode(dimension, kCodeDigits), DimensionText(dimension),
                         UnitText(CUnitCtrl(dimension)), units});
        if (!isEnglish) lines.back().insert(lines.back().begin() + 2, OtherName(dimension));
    }
    return FormatTable(columns, lines);
}

std::string DescribeDimension(CUnitCtrl::DIM_CODE dimension) {
    const CUnitCtrl standard(dimension);
    std::vector<std::vector<std::string>> lines = {{"code", "unit", "1 of it", ""}};
    for (const CUnitCtrl& unit : UnitsOf(dimension)) {
        lines.push_back({HexCode(UnitParts(unit).front().unit, kCodeDigits), UnitText(unit),
                         FormatNumber(ConvertValue(1.0, unit, standard), 12), UnitText(standard)});
    }
    const std::string other = OtherName(dimension);
    return fmt::format("{}{}, code {}, standard unit {}\n{}", DimensionText(dimension),
                       other.empty() ? other : " (" + other + ")", HexCode(dimension, kCodeDigits),
                       UnitText(standard),
                       FormatTable({Align::right, Align::left, Align::right, Align::left}, lines));
}

void RunConvert(const UnitsOptions& options, ByteStream& out) {
    const double value = ParseArgument(options.value);
    UnitPair units;
    try {
        units = NamedUnitPair(options.from, options.to);
    } catch (const Error& error) {
        if (error.Kind() == ErrorKind::kUnknownName) throw ValueError(error.Sentence());
        throw Failure(error.Sentence());
    }
    const double converted = ConvertValue(value, units.from, units.to);
    const std::string unit = units.to.converted.empty() ? UnitText(units.to.unit) : options.to;
    if (!std::isfinite(converted)) {
        throw Failure(
            fmt::format("{} {} leaves the range of numbers in {}", Quote(options.value), options.from, unit));
    }
    WriteText(out, fmt::format("{} {}\n", FormatExact(converted), unit));
}

void RunUnits(const UnitsOptions& options, ByteStream& out) {
    if (options.dimension.empty()) {
        WriteText(out, ListDimensions());
        return;
    }
    const std::vector<CUnitCtrl::DIM_CODE> dimensions = FindDimensions(options.dimension);
    if (dimensions.empty()) {
        const std::string near = DidYouMean(options.dimension, NamesToAskFor());
        throw Failure(fmt::format("no dimension and no unit is called {}{}", Quote(options.dimension),
                                  near.empty() ? "; 'kvx units' lists them" : near));
    }
    std::string text;
    for (const CUnitCtrl::DIM_CODE dimension : dimensions)
        text += (text.empty() ? "" : "\n") + DescribeDimension(dimension);
    WriteText(out, text);
}

}  // namespace

void AddUnits(Command app) {
    const auto options = std::make_shared<UnitsOptions>();
    Command command = app.AddCommand("units", "List dimensions and units, convert values");
    command
        .AddOption("DIMENSION", options->dimension,
                   "List the units of a dimension, given by its name, its code or one of its units")
        .Suggest(DimensionNames());
    Command convert = command.AddCommand("convert", "Convert a value from one unit to another");
    convert.AddOption("VALUE", options->value, "The number to convert").Required();
    convert.AddOption("FROM", options->from, "Its unit: g, mm/s2, psi, degC, (m/s2)2/Hz ...").Required();
    convert.AddOption("TO", options->to, "The unit wanted").Required();
    convert.SetFooter("", R"(
kvx units convert 1 g m/s2
kvx units convert -40 degC degF
kvx units convert 15 psi bar
)");
    convert.OnRun([=](ByteStream& out) { RunConvert(*options, out); });
    command.SetFooter("", R"(
kvx units
kvx units acceleration
kvx units convert 1 g m/s2
kvx units convert 0.04 g2/Hz '(m/s2)2/Hz'
)");
    command.OnRun([=](ByteStream& out) { RunUnits(*options, out); });
}

}  // namespace kvx::tool
