// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/TextColumns.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/NearNames.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitNames.h>
#include <KvxRecording01/detail/StatedUnit.h>
#include <KvxRecording01/detail/TextHeadings.h>

namespace kvx {
namespace {

/// The column of a number, from 1, or a heading.
std::size_t NamedColumn(const TextLayout& layout, const TextOptions& options) {
    const std::string name = ToUtf8(options.axisColumn);
    std::size_t number = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    if (end == name.data() + name.size()) {
        if (error == std::errc() && number > layout.skipped && number <= layout.skipped + layout.columns)
            return number - layout.skipped - 1;
        throw Error(ErrorKind::kBadValue, options.called.time + " " + name + " is none of the columns " +
                                              std::to_string(layout.skipped + 1) + " to " +
                                              std::to_string(layout.skipped + layout.columns));
    }
    std::vector<std::string> names;
    for (std::size_t c = 0; c < layout.columns; ++c) {
        if (layout.NameOf(c) == options.axisColumn) return c;
        names.push_back(ToUtf8(layout.NameOf(c)));
    }
    throw Error(ErrorKind::kUnknownName,
                options.called.time + ": no column is called " + Quote(name) + DidYouMean(name, names));
}

bool IsTimeColumn(const TextLayout& layout, std::size_t column) {
    return !layout.headings.empty() && layout.Kind(column) == FieldKind::number &&
           IsTimeHeading(layout.headings[column]);
}

/// The column whose stamps or whose heading, alone among all, say that it is the time.
std::optional<std::size_t> TimeColumn(const TextLayout& layout) {
    if (IsTimeColumn(layout, 0)) return 0;
    for (const bool isClock : {false, true}) {
        for (std::size_t c = 0; c < layout.columns; ++c) {
            if (IsStamp(layout.Kind(c)) && (layout.Kind(c) == FieldKind::clock) == isClock) return c;
        }
    }
    std::optional<std::size_t> found;
    for (std::size_t c = 1; c < layout.columns; ++c) {
        if (!IsTimeColumn(layout, c)) continue;
        if (found) return std::nullopt;
        found = c;
    }
    return found;
}

/// "column 2, 'state',".
std::string ColumnText(const TextLayout& layout, std::size_t column) {
    const std::string number = "column " + std::to_string(layout.skipped + column + 1);
    const std::wstring name = layout.NameOf(column);
    return name.empty() ? number : number + ", " + Quote(name) + ",";
}

/// What a column of texts or of nothing is left out for.
void RemarkOnOthers(const TextLayout& layout, const TextAxis& axis, std::vector<std::string>* remarks) {
    constexpr std::size_t kMostRemarks = 8;
    std::size_t others = 0;
    for (std::size_t c = 0; c < layout.kinds.size(); ++c) {
        const FieldKind kind = layout.kinds[c];
        const bool isClockOfAxis =
            c > 0 && c - 1 == axis.column && layout.kinds[c - 1] == FieldKind::dateAndClock;
        const bool isNothing = kind == FieldKind::empty && layout.NameOf(c).empty();
        if (c == axis.column || layout.Values(c) > (IsStamp(kind) ? 1U : 0U) || isClockOfAxis || isNothing ||
            kind == FieldKind::number)
            continue;
        if (++others > kMostRemarks) continue;
        remarks->push_back(ColumnText(layout, c) +
                           (kind == FieldKind::empty ? " is empty"
                            : IsStamp(kind)          ? " holds times that are not the axis"
                            : layout.firstFields[c].empty()
                                ? " holds no numbers"
                                : " holds text, such as " + Quote(layout.firstFields[c])) +
                           ", and is left out");
    }
    if (others > kMostRemarks) {
        remarks->push_back(Count(static_cast<long long>(others - kMostRemarks), "more column") +
                           " without numbers left out");
    }
}

/// The axis of what is not stated to have a column for it.
TextAxis GuessAxis(const TextLayout& layout, const TextOptions& options) {
    TextAxis axis;
    axis.dimension = options.axis.value_or(CUnitCtrl::DIM_TIME);
    const bool isTime = axis.dimension == CUnitCtrl::DIM_TIME;
    if (layout.firstIsTime) {
        if (*layout.firstIsTime) axis.column = 0;
        axis.isCertain = true;
        return axis;
    }
    const bool isFirstOther = !layout.headings.empty() && layout.Kind(0) == FieldKind::number &&
                              AxisOf(layout.headings[0]).value_or(CUnitCtrl::DIM_TIME) != CUnitCtrl::DIM_TIME;
    if (isTime && !(isFirstOther && !options.axis)) {
        if (const std::optional<std::size_t> column = TimeColumn(layout)) {
            axis.column = *column;
            axis.isCertain = true;
            return axis;
        }
    }
    if (layout.Kind(0) != FieldKind::number) return axis;
    if (!layout.headings.empty()) {
        const std::optional<CUnitCtrl::DIM_CODE> own = AxisOf(layout.headings[0]);
        const bool isAxis = options.axis ? !options.spacing : own.has_value();
        if (isAxis) axis = {0, true, options.axis.value_or(own.value_or(CUnitCtrl::DIM_TIME))};
        return axis;
    }
    if (options.spacing) return axis;
    axis.column = 0;
    axis.isCertain = options.axis && !isTime;
    return axis;
}

/// The unit that a heading states besides those of the table, in brackets or behind its name: "freq [CPM]",
/// "time_ms".
std::optional<EntryUnit> UnitOfPlaces(const UnitHeading& heading, CUnitCtrl::DIM_CODE dimension) {
    std::wstring_view text = heading.unknownUnit;
    if (text.empty() && !heading.unit) {
        const std::size_t end = heading.name.find_last_of(L"_ ");
        if (end != heading.name.npos) text = std::wstring_view(heading.name).substr(end + 1);
    }
    if (text.empty()) return std::nullopt;
    const std::optional<EntryUnit> unit = ParseEntryUnit(text, dimension);
    return unit && unit->unit == dimension ? unit : std::nullopt;
}

}  // namespace

TextAxis FindAxis(const TextLayout& layout, const TextOptions& options) {
    TextAxis axis;
    if (options.axisColumn.empty() && !options.firstColumnIsTime) {
        axis = GuessAxis(layout, options);
    } else {
        const bool isNone = options.axisColumn.empty() && !*options.firstColumnIsTime;
        if (!isNone) axis.column = options.axisColumn.empty() ? 0 : NamedColumn(layout, options);
        axis.isCertain = true;
        axis.dimension = CUnitCtrl::DIM_TIME;
        if (!isNone && !layout.headings.empty())
            axis.dimension = AxisOf(layout.headings[axis.column]).value_or(CUnitCtrl::DIM_TIME);
        axis.dimension = options.axis.value_or(axis.dimension);
    }
    if (axis.column == kNoColumn) return axis;
    const std::string column = "column " + std::to_string(layout.skipped + axis.column + 1);
    if (options.spacing && axis.isCertain)
        throw Error(ErrorKind::kBadValue, options.called.spacing +
                                              " is for a text without a column for its axis, "
                                              "which " +
                                              column + " is");
    const FieldKind kind = layout.Kind(axis.column);
    if (kind != FieldKind::number && !IsStamp(kind))
        throw Error(ErrorKind::kBadValue, column + " holds neither plain numbers nor times and is no axis");
    if (IsStamp(kind)) {
        if (axis.dimension != CUnitCtrl::DIM_TIME)
            throw Error(ErrorKind::kBadValue,
                        column + " holds times, which " + options.called.axis + " denies");
        return axis;
    }
    if (layout.headings.empty()) return axis;
    const UnitHeading& heading = layout.headings[axis.column];
    if (heading.unit && *heading.unit == axis.dimension) {
        axis.unit = *heading.unit;
    } else if (const std::optional<EntryUnit> own = UnitOfPlaces(heading, axis.dimension)) {
        axis.unit = *own;
    } else if (heading.unit && options.axis) {
        throw Error(ErrorKind::kBadValue, column + " is in " + Quote(UnitText(*heading.unit)) + ", which " +
                                              options.called.axis + " denies");
    } else if (!heading.unknownUnit.empty() && !options.axis) {
        axis.dimension = CUnitCtrl::DIM_NONE;
        axis.unknownUnit = heading.unknownUnit;
    } else if (!heading.unknownUnit.empty()) {
        const bool isTime = axis.dimension == CUnitCtrl::DIM_TIME;
        axis.remark = "the unit " + Quote(heading.unknownUnit) + " of the " +
                      (isTime ? "time column" : "axis") + " is not known, so it is read in " +
                      (isTime ? "seconds" : UnitText(CUnitCtrl(axis.dimension)));
    }
    return axis;
}

std::vector<TextChannel> ListChannels(const TextLayout& layout, const TextAxis& axis,
                                      std::vector<std::string>* remarks) {
    const bool isTime = axis.dimension == CUnitCtrl::DIM_TIME;
    const auto isChannel = [&](std::size_t c) {
        return c != axis.column && layout.Values(c) > 0 && !IsStamp(layout.Kind(c));
    };
    std::vector<std::optional<PartHeading>> parts(layout.columns);
    for (std::size_t c = 0; c < layout.headings.size(); ++c) {
        if (isChannel(c) && layout.Kind(c) == FieldKind::number) parts[c] = PartOf(layout.headings[c].name);
    }
    /// The column with the other part of the number whose first part is in a column.
    const auto partner = [&](std::size_t first) -> std::size_t {
        if (!parts[first]) return kNoColumn;
        const ComplexPart part = parts[first]->part;
        const bool isReal = part == ComplexPart::real;
        if (!isReal && (part != ComplexPart::magnitude || isTime)) return kNoColumn;
        const ComplexPart wanted = isReal ? ComplexPart::imaginary : ComplexPart::phase;
        for (std::size_t c = first + 1; c < parts.size(); ++c) {
            if (!parts[c] || parts[c]->part != wanted) continue;
            const bool isNext = !isReal && c == first + 1 && parts[c]->name.empty();
            if (parts[c]->name != parts[first]->name && !isNext) continue;
            const std::optional<CUnitCtrl>& unit = layout.headings[c].unit;
            const std::optional<CUnitCtrl>& own = layout.headings[first].unit;
            const bool isAngle = !unit || *unit == CUnitCtrl::DIM_ANGLE;
            if (isReal ? unit.has_value() == own.has_value() && (!unit || *unit == *own) : isAngle) return c;
        }
        return kNoColumn;
    };
    std::vector<TextChannel> channels;
    std::vector<char> isTaken(layout.columns, 0);
    for (std::size_t c = 0; c < layout.columns; ++c) {
        if (!isChannel(c) || isTaken[c]) continue;
        TextChannel& channel = channels.emplace_back(TextChannel{{}, c});
        channel.channel.isComplex = layout.Kind(c) == FieldKind::complexNumber;
        if (layout.headings.empty()) continue;
        const UnitHeading& heading = layout.headings[c];
        StateHeading(&channel.channel, heading);
        channel.second = partner(c);
        if (channel.second == kNoColumn) continue;
        isTaken[channel.second] = 1;
        parts[channel.second].reset();
        channel.channel.isComplex = true;
        channel.channel.name = parts[c]->name;
        if (parts[c]->part == ComplexPart::real) continue;
        const std::optional<CUnitCtrl>& angle = layout.headings[channel.second].unit;
        constexpr double kDegreesPerRadian = 180.0 / std::numbers::pi;
        const bool isRadian = angle && angle->ConvItoD(1.0, 1.0, 0) == 1.0;
        channel.phaseDegrees = isRadian ? kDegreesPerRadian : 1.0;
        if (!angle)
            remarks->push_back("the phases of " + ColumnText(layout, channel.second) +
                               " have no unit and are read in degrees");
        channel.isInDecibels = heading.unit && *heading.unit == SingleUnit(units::kAmplitudeDecibel);
        if (channel.isInDecibels) channel.channel.unit = CUnitCtrl();
    }
    RemarkOnOthers(layout, axis, remarks);
    return channels;
}

std::complex<double> FromPolar(const TextChannel& channel, double magnitude, double phase) {
    if (magnitude == kNoValue<double> || phase == kNoValue<double>)
        return {kNoValue<double>, kNoValue<double>};
    if (channel.isInDecibels) magnitude = std::pow(10.0, magnitude / 20.0);
    // By quarters of a turn, so that multiples of them are exact, with a 0 that is not negative.
    int quarters = 0;
    const double rest = std::remquo(phase * channel.phaseDegrees, 90.0, &quarters) * std::numbers::pi / 180.0;
    const double cosine = magnitude * std::cos(rest), sine = magnitude * std::sin(rest);
    switch (static_cast<unsigned>(quarters) % 4) {
        case 0:
            return {cosine, sine};
        case 1:
            return {0.0 - sine, cosine};
        case 2:
            return {0.0 - cosine, 0.0 - sine};
        default:
            return {sine, 0.0 - cosine};
    }
}

}  // namespace kvx
