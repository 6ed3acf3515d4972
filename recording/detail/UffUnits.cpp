// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/UffUnits.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <span>
#include <utility>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxDevCommon01/units/UnitText.h>
#include <KvxRecording01/detail/StatedUnit.h>

namespace kvx {
namespace {

/// A physical quantity of an axis: its unit in the SI, and the powers of the length and the force of a unit
/// system in it.
struct Quantity {
    int type;
    std::string_view unit;
    int length;
    int force;
    int temperature;
};

// clang-format off
constexpr Quantity kQuantities[] = {
    { 2, "Pa",     -2, 1, 0},  // stress
    { 3, "Strain",  0, 0, 0},  // strain
    { 5, "K",       0, 0, 1},  // temperature
    { 8, "m",       1, 0, 0},  // displacement
    { 9, "N",       0, 1, 0},  // reaction force
    {11, "m/s",     1, 0, 0},  // velocity
    {12, "m/s2",    1, 0, 0},  // acceleration
    {13, "N",       0, 1, 0},  // excitation force
    {15, "Pa",     -2, 1, 0},  // pressure
    {16, "kg",     -1, 1, 0},  // mass
    {17, "s",       0, 0, 0},  // time
    {18, "Hz",      0, 0, 0},  // frequency
    {19, "rpm",     0, 0, 0},  // revolutions per minute
    {21, "Pa",     -2, 1, 0},  // sound pressure
    {23, "W",       1, 1, 0},  // sound power
};
constexpr int kGeneral = 1;
constexpr int kTime = 17;
constexpr int kFrequency = 18;
constexpr int kAutoSpectrum = 2;
constexpr int kCrossSpectrum = 3;
constexpr int kPowerDensity = 9;
constexpr int kEnergyDensity = 10;
constexpr int kOverTime[] = {1, 7, 8, 25};
constexpr int kOverFrequency[] = {2, 3, 4, 5, 6, 9, 10, 12, 21, 26};

/// The types that are written, by dimension.
struct TypeOfDimension {
    CUnitCtrl::DIM_CODE dimension;
    int type;
};
constexpr TypeOfDimension kTypes[] = {
    {CUnitCtrl::DIM_ACCELERATION, 12}, {CUnitCtrl::DIM_VELOCITY,  11}, {CUnitCtrl::DIM_DISPLACEMENT, 8},
    {CUnitCtrl::DIM_FORCE,        13}, {CUnitCtrl::DIM_PRESSURE,  15}, {CUnitCtrl::DIM_STRAIN,       3},
    {CUnitCtrl::DIM_TEMPERATURE,   5}, {CUnitCtrl::DIM_MASS,      16}, {CUnitCtrl::DIM_TIME,     kTime},
    {CUnitCtrl::DIM_FREQUENCY, kFrequency},
};

/// Signs of unit names that files of this kind, which are ASCII, have other spellings for.
struct Spelling {
    std::string_view sign;
    std::string_view ascii;
};
constexpr Spelling kSpellings[] = {
    {"\u03BC", "u"}, {"\u03A9", "Ohm"}, {"\u00B0", "deg"}, {"\u00B7", "."}, {"\u56DE", "count"}, {"\u03C3", "sigma"},
};
// clang-format on

std::string Replaced(std::string text, std::string_view from, std::string_view to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != text.npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

const Quantity* FindQuantity(const UffAxis& axis) {
    const auto* row = std::ranges::find(kQuantities, axis.type, &Quantity::type);
    if (row == std::end(kQuantities) && axis.type == kGeneral && axis.powers != std::array<int, 3>{}) {
        // A time that the powers do not tell of is taken for none.
        row = std::ranges::find_if(kQuantities, [&](const Quantity& quantity) {
            return std::array{quantity.length, quantity.force, quantity.temperature} == axis.powers;
        });
    }
    return row == std::end(kQuantities) ? nullptr : row;
}

/// One side of a quotient: a unit as text, and what a value is multiplied by to be in it.
struct Side {
    std::string unit = {};
    double scale = 1.0;
    bool isAssumed = false;  ///< whether it follows from the quantity
};

Side SideOf(const UffAxis& axis, const UffUnitSystem& system) {
    if (!axis.unit.empty()) return {Replaced(axis.unit, "**", "^")};
    const Quantity* const quantity = FindQuantity(axis);
    if (quantity == nullptr) return {};
    return {std::string(quantity->unit),
            std::pow(system.length, -quantity->length) * std::pow(system.force, -quantity->force) *
                std::pow(system.temperature, -quantity->temperature),
            true};
}

std::string InParentheses(const std::string& unit) {
    return unit.find_first_of("/*. ") == unit.npos ? unit : "(" + unit + ")";
}

/// How the unit is read: with what its quantity says of a name that several units have.
std::optional<CUnitCtrl> ReadUnit(std::wstring_view text, const Quantity* quantity) {
    if (quantity == nullptr || text.empty()) return std::nullopt;
    const std::optional<CUnitCtrl> own = ParseUnit(FromUtf8Replacing(quantity->unit));
    const std::optional<CUnitCtrl> unit = ParseUnit(text, DimensionOf(own.value_or(CUnitCtrl())));
    return unit && own && unit->IsSingle() && *unit == *own ? unit : std::nullopt;
}

/// Whether a label says another unit than the unit system.
bool Contradicts(const UffAxis& axis, const UffUnitSystem& system, const DecodeText& decode) {
    const Quantity* const quantity = FindQuantity(axis);
    if (system.IsSi() || quantity == nullptr || axis.unit.empty()) return false;
    const std::optional<CUnitCtrl> unit = ReadUnit(decode(axis.unit), quantity);
    UffAxis unlabelled = axis;
    unlabelled.unit.clear();
    constexpr double kRounded = 1e-3;
    return unit && std::abs(unit->ConvItoD(1.0, 1.0, 0) / SideOf(unlabelled, system).scale - 1.0) > kRounded;
}

bool IsOver(const UnitPart& part) {
    return (part.calc & CUnitCtrl::CALC_DIVIDE) != 0;
}

bool IsSquared(const UnitPart& part) {
    return (part.calc & CUnitCtrl::CALC_SQUARED) != 0;
}

/// Whether two descriptors are the same in every member, and not only in their dimensions.
bool AreSame(const CUnitCtrl& a, const CUnitCtrl& b) {
    return std::ranges::equal(UnitParts(a), UnitParts(b), [](const UnitPart& x, const UnitPart& y) {
        return x.unit == y.unit && IsOver(x) == IsOver(y) && IsSquared(x) == IsSquared(y);
    });
}

/// The name of the unit as a label, in ASCII if it is then read as the same; empty for one that has none.
std::string LabelOf(const CUnitCtrl& unit, const Quantity* quantity) {
    const std::wstring name = PlainUnitName(unit);
    const auto isRead = [&](const std::wstring& label) {
        const auto read = ReadUnit(label, quantity);
        const auto parsed = read ? read : ParseUnit(label);
        return parsed && AreSame(*parsed, unit);
    };
    std::string ascii = ToUtf8(name);
    for (const Spelling& spelling : kSpellings)
        ascii = Replaced(std::move(ascii), spelling.sign, spelling.ascii);
    if (isRead(FromUtf8Replacing(ascii))) return ascii;
    return isRead(name) ? ToUtf8(name) : std::string();
}

bool IsPerHertz(const CUnitCtrl& unit) {
    const auto parts = UnitParts(unit);
    return parts.size() == 2 && IsOver(parts[1]) &&
           CUnitCtrl::GetDimCode(parts[1].unit) == CUnitCtrl::DIM_FREQUENCY;
}

/// The denominator of a plain quotient, such as N of g/N; no value for other units.
std::optional<CUnitCtrl> DenominatorOf(const CUnitCtrl& unit) {
    const auto parts = UnitParts(unit);
    if (parts.size() != 2 || IsOver(parts[0]) || !IsOver(parts[1]) || IsPerHertz(unit)) return std::nullopt;
    return SingleUnit(parts[1].unit, IsSquared(parts[1]) ? CUnitCtrl::CALC_SQUARED : CUnitCtrl::CALC_PLAIN);
}

int TypeOf(const CUnitCtrl& unit) {
    const auto row = std::ranges::find(kTypes, DimensionOf(unit), &TypeOfDimension::dimension);
    return row == std::end(kTypes) ? 0 : row->type;
}

/// What a unit is on an axis; without a unit where its label would be read as another one.
UffAxis AxisOf(const CUnitCtrl& unit) {
    UffAxis axis;
    axis.type = TypeOf(unit);
    if (const Quantity* const quantity = FindQuantity(axis))
        axis.powers = {quantity->length, quantity->force, quantity->temperature};
    const CUnitCtrl::DIM_CODE dimension = DimensionOf(unit);
    if (dimension != CUnitCtrl::DIM_NONE) {
        axis.label = DimensionText(dimension);
        axis.unit = LabelOf(unit, unit.IsSingle() ? FindQuantity(axis) : nullptr);
    }
    return axis;
}

}  // namespace

std::string StateUffUnit(const UffHeader& header, const UffUnitSystem& system, const DecodeText& decode,
                         RecordingInfo::Channel* channel) {
    const Side over = SideOf(header.numerator, system);
    Side under = SideOf(header.denominator, system);
    const bool isSpectrum = header.function == kAutoSpectrum || header.function == kPowerDensity ||
                            header.function == kEnergyDensity;
    // A label may already be that of the quotient, and a density has no other denominator.
    const std::optional<CUnitCtrl> labelled = over.isAssumed ? std::nullopt : ParseUnit(decode(over.unit));
    if (under.isAssumed && (isSpectrum || (labelled && !labelled->IsSingle()))) under = {};
    std::string text = over.unit;
    channel->scale = over.scale;
    if (over.isAssumed && isSpectrum) {
        text = "(" + text + ")2";
        if (header.function == kPowerDensity) text += "/Hz";
        if (header.function == kEnergyDensity) text += ".s/Hz";
        channel->scale *= over.scale;
    } else if (over.isAssumed && under.isAssumed && header.function == kCrossSpectrum) {
        text = InParentheses(text) + "." + InParentheses(under.unit);
        channel->scale *= under.scale;
    } else if (!under.unit.empty()) {
        text = (text.empty() ? "1" : text) + "/" + InParentheses(under.unit);
        channel->scale /= under.scale;
    }
    const std::wstring wide = decode(text);
    channel->unit = under.unit.empty() ? ReadUnit(wide, FindQuantity(header.numerator)) : std::nullopt;
    if (!channel->unit) {
        const double scale = std::exchange(channel->scale, 1.0);
        const Quantity* const quantity = under.unit.empty() ? FindQuantity(header.numerator) : nullptr;
        const bool isForce = quantity != nullptr && quantity->unit == "N";
        StateUnit(channel, wide, isForce ? std::optional(CUnitCtrl::DIM_FORCE) : std::nullopt);
        channel->scale *= scale;
    }
    if (channel->scale != 1.0 && channel->convertedUnit.empty())
        channel->convertedUnit = FromUtf8Replacing(FormatNumber(channel->scale)) + L" " + wide;
    if (over.isAssumed || under.isAssumed) {
        return "units that have no label are those of their quantities in " +
               (system.name.empty() ? "the SI" : "the unit system " + Quote(decode(system.name)));
    }
    if (Contradicts(header.numerator, system, decode) || Contradicts(header.denominator, system, decode)) {
        return "labels say other units than the unit system " + Quote(decode(system.name)) +
               "; the labels are taken";
    }
    return {};
}

UffAbscissa StateUffAbscissa(const UffHeader& header, const DecodeText& decode, RecordedAxis* axis) {
    const Quantity* const quantity = FindQuantity(header.abscissa);
    std::string_view usual = quantity != nullptr ? quantity->unit : "";
    if (usual.empty() && std::ranges::find(kOverTime, header.function) != std::end(kOverTime)) usual = "s";
    if (usual.empty() && std::ranges::find(kOverFrequency, header.function) != std::end(kOverFrequency))
        usual = "Hz";
    const CUnitCtrl taken = ParseUnit(FromUtf8Replacing(usual)).value_or(CUnitCtrl());
    const std::wstring label = decode(header.abscissa.unit);
    if (!label.empty()) return {StateAxisUnit(axis, label, DimensionOf(taken))};
    axis->unit = CUnitCtrl(DimensionOf(taken));
    if (quantity != nullptr || usual.empty()) return {taken};
    return {taken, "the abscissa has no unit, so it is read in " + std::string(usual)};
}

CUnitCtrl SetUffUnit(const CUnitCtrl& unit, UffHeader* header) {
    constexpr std::size_t kLabelWidth = 20;
    const std::optional<CUnitCtrl> under = DenominatorOf(unit);
    CUnitCtrl written = unit;
    if (under) {
        const UnitPart over = UnitParts(unit).front();
        header->numerator = AxisOf(SingleUnit(over.unit, over.calc));
        header->denominator = AxisOf(*under);
    } else {
        header->numerator = AxisOf(unit);
        header->denominator = {};
    }
    const auto isLabelled = [](const UffAxis& axis) { return axis.label.empty() || !axis.unit.empty(); };
    if (!isLabelled(header->numerator) || !isLabelled(header->denominator)) {
        written = CUnitCtrl(DimensionOf(unit));
        if (!unit.IsSingle() || AreSame(unit, written)) {
            throw Error(ErrorKind::kUnsupported,
                        "the unit " + Quote(UnitText(unit)) + " would be read back as another one");
        }
        header->numerator = AxisOf(written);
    }
    for (const UffAxis& axis : {header->numerator, header->denominator}) {
        if (axis.unit.size() <= kLabelWidth) continue;
        throw Error(ErrorKind::kUnsupported, "the unit " + Quote(UnitText(unit)) +
                                                 " is longer than the 20 characters that there are for it");
    }
    return written;
}

void SetUffAbscissa(const CUnitCtrl& axisUnit, UffHeader* header) {
    header->abscissa = AxisOf(CUnitCtrl(DimensionOf(axisUnit)));
}

int UffFunctionOf(const CUnitCtrl& axisUnit, const CUnitCtrl& unit, bool isComplex) {
    const CUnitCtrl::DIM_CODE dimension = DimensionOf(axisUnit);
    if (dimension == CUnitCtrl::DIM_TIME) return isComplex ? 0 : FindUffFunction("time response");
    if (dimension != CUnitCtrl::DIM_FREQUENCY) return 0;
    if (IsPerHertz(unit) || (unit.IsSingle() && IsSquared(UnitParts(unit).front())))
        return isComplex ? kCrossSpectrum : IsPerHertz(unit) ? kPowerDensity : kAutoSpectrum;
    if (isComplex && DenominatorOf(unit)) return FindUffFunction("frequency response");
    return FindUffFunction("spectrum");
}

}  // namespace kvx
