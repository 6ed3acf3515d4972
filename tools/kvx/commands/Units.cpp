// SPDX-License-Identifier: MIT
//
// kvx units: the dimensions and units of the suite, and conversion between them.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/ItemInfo.h>
#include <KvxDevCommon01/units/UnitCtrl.h>
#include <KvxDevCommon01/units/UnitText.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "commands/Commands.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

constexpr std::size_t kCodeDigits = 8;

struct UnitsOptions {
    std::string dimension;
    std::string value;
    std::string from;
    std::string to;
};

struct Dimension {
    CUnitCtrl::DIM_CODE code;
    std::string name;  ///< as the suite shows it
    std::string english;
};

std::vector<Dimension> AllDimensions() {
    std::vector<Dimension> dimensions;
    CItemInfoList list;
    CUnitCtrl::GetDimList(0, &list);
    CItemInfo item;
    for (__int64 i = 0; list.GetItem(i, &item); ++i) {
        const auto code = static_cast<CUnitCtrl::DIM_CODE>(item.GetCode());
        dimensions.push_back({code, ToUtf8(item.GetText()), std::string(DimensionText(code))});
    }
    return dimensions;
}

std::vector<CUnitCtrl> UnitsOf(CUnitCtrl::DIM_CODE dimension) {
    std::vector<CUnitCtrl> units;
    CItemInfoList list;
    CUnitCtrl::GetUnitListByDimCode(dimension, &list);
    CItemInfo item;
    for (__int64 i = 0; list.GetItem(i, &item); ++i) {
        units.push_back(SingleUnit(static_cast<CUnitCtrl::UNIT_CODE>(item.GetCode())));
    }
    return units;
}

std::string ListDimensions() {
    std::vector<std::vector<std::string>> lines = {{"code", "dimension", "", "standard", "units"}};
    for (const Dimension& dimension : AllDimensions()) {
        std::string units;
        for (const CUnitCtrl& unit : UnitsOf(dimension.code))
            units += (units.empty() ? "" : " ") + UnitText(unit);
        lines.push_back({HexCode(dimension.code, kCodeDigits), dimension.english, dimension.name,
                         UnitText(CUnitCtrl(dimension.code)), units});
    }
    return FormatTable({Align::right, Align::left, Align::left, Align::left, Align::left}, lines);
}

/// The dimensions that a word means: by a name or a code, else as the dimension of a unit.
std::vector<Dimension> FindDimensions(const std::string& word) {
    std::vector<Dimension> dimensions = AllDimensions();
    std::vector<Dimension> found;
    std::ranges::copy_if(dimensions, std::back_inserter(found), [&](const Dimension& d) {
        return word == d.name || word == d.english || word == HexCode(d.code, kCodeDigits);
    });
    if (!found.empty()) return found;
    const std::vector<CUnitCtrl::UNIT_CODE> units = FindUnit(FromUtf8(word).value_or(L""));
    std::ranges::copy_if(dimensions, std::back_inserter(found), [&](const Dimension& d) {
        return std::ranges::any_of(units, [&](auto unit) { return CUnitCtrl::GetDimCode(unit) == d.code; });
    });
    if (found.empty())
        throw Failure("no dimension and no unit is called " + Quote(word) + "; 'kvx units' lists them");
    return found;
}

std::string DescribeDimension(const Dimension& dimension) {
    const CUnitCtrl standard(dimension.code);
    std::string text = dimension.english + " (" + dimension.name + "), code " +
                       HexCode(dimension.code, kCodeDigits) + ", standard unit " + UnitText(standard) + "\n";
    std::vector<std::vector<std::string>> lines = {{"code", "unit", "1 of it", ""}};
    for (const CUnitCtrl& unit : UnitsOf(dimension.code)) {
        CUnitCtrl::UNIT_CODE code = CUnitCtrl::UNIT_NONE;
        unit.GetInfo(&code, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
        const double one = standard.ConvDtoI(unit.ConvItoD(1.0, 1.0, 1), 1.0, 1);
        lines.push_back(
            {HexCode(code, kCodeDigits), UnitText(unit), FormatNumber(one, 12), UnitText(standard)});
    }
    return text + FormatTable({Align::right, Align::left, Align::right, Align::left}, lines);
}

CUnitCtrl::DIM_CODE DimensionOf(const CUnitCtrl& unit) {
    CUnitCtrl::DIM_CODE dimension = CUnitCtrl::DIM_NONE;
    unit.GetDimCode(&dimension, nullptr, nullptr, nullptr);
    return dimension;
}

void RunConvert(const UnitsOptions& options, ByteStream& out) {
    const double value = ParseArgument(options.value);
    // Where one of the names means several units, the other one decides.
    CUnitCtrl from = RequireUnit(options.from);
    CUnitCtrl to = RequireUnit(options.to, DimensionOf(from));
    if (!IsConvertible(from, to)) {
        to = RequireUnit(options.to);
        from = RequireUnit(options.from, DimensionOf(to));
    }
    if (!IsConvertible(from, to)) {
        throw Failure(Quote(options.from) + " does not convert to " + Quote(options.to) +
                      ": they are of different dimensions");
    }
    const int absolute = from.IsSingle();
    const double converted = to.ConvDtoI(from.ConvItoD(value, 1.0, absolute), 1.0, absolute);
    if (!std::isfinite(converted)) {
        throw Failure(Quote(options.value) + " " + options.from + " leaves the range of numbers in " +
                      UnitText(to));
    }
    WriteText(out, FormatExact(converted) + " " + UnitText(to) + "\n");
}

void RunUnits(const UnitsOptions& options, ByteStream& out) {
    if (options.dimension.empty()) {
        WriteText(out, ListDimensions());
        return;
    }
    std::string text;
    for (const Dimension& dimension : FindDimensions(options.dimension)) {
        text += (text.empty() ? "" : "\n") + DescribeDimension(dimension);
    }
    WriteText(out, text);
}

}  // namespace

void AddUnits(Command app) {
    const auto options = std::make_shared<UnitsOptions>();
    Command command = app.AddCommand("units", "List dimensions and units, convert values");
    command.AddOption("DIMENSION", options->dimension,
                      "List the units of a dimension, given by its name, its code or one of its units");
    Command convert = command.AddCommand("convert", "Convert a value from one unit to another");
    convert.AddOption("VALUE", options->value, "The number to convert").Required();
    convert.AddOption("FROM", options->from, "Its unit: g, m/s2, degC, (m/s2)2/Hz ...").Required();
    convert.AddOption("TO", options->to, "The unit wanted").Required();
    convert.SetFooter("Example:\n  kvx units convert 1 g m/s2\n  kvx units convert -40 degC degF");
    convert.OnRun([=](ByteStream& out) { RunConvert(*options, out); });
    command.SetFooter(
        "Example:\n"
        "  kvx units\n"
        "  kvx units acceleration\n"
        "  kvx units convert 1 g m/s2\n"
        "  kvx units convert 0.04 g2/Hz '(m/s2)2/Hz'");
    command.OnRun([=](ByteStream& out) { RunUnits(*options, out); });
}

}  // namespace kvx::tool
