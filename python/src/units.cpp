// SPDX-License-Identifier: MIT
#include "units.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/dsp/LineSpectrum.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/ShownValue.h>
#include <KvxDevCommon01/units/UnitText.h>

namespace kvx::python {
namespace {

/// What tells members apart: without either a member is plain.
constexpr std::uint32_t kMarks = CUnitCtrl::CALC_SQUARED | CUnitCtrl::CALC_DIVIDE;

using Members = std::vector<std::pair<std::uint32_t, std::uint32_t>>;

Members MembersOf(const CUnitCtrl& unit) {
    Members members;
    for (const UnitPart& part : UnitParts(unit)) members.emplace_back(part.unit, part.calc & kMarks);
    return members;
}

CUnitCtrl UnitOfMembers(const Members& members) {
    std::array<UnitPart, 4> parts;
    for (std::size_t m = 0; m < std::min(members.size(), parts.size()); ++m) {
        const std::uint32_t marks = members[m].second & kMarks;
        parts[m] = {CUnitCtrl::UNIT_CODE{members[m].first},
                    marks != 0 ? CUnitCtrl::UNIT_CALC{marks} : CUnitCtrl::CALC_PLAIN};
    }
    return {parts[0].unit, parts[0].calc, parts[1].unit, parts[1].calc,
            parts[2].unit, parts[2].calc, parts[3].unit, parts[3].calc};
}

bool AreEqual(const CUnitCtrl& a, const CUnitCtrl& b) {
    return MembersOf(a) == MembersOf(b);
}

std::string Repr(const CUnitCtrl& unit) {
    const std::string name = NameOf(unit);
    const auto read = ParseUnit(FromUtf8Replacing(name));
    if (read && AreEqual(*read, unit)) return "Unit('" + name + "')";
    const auto ofDimension = ParseUnit(FromUtf8Replacing(name), DimensionOf(unit));
    if (unit.IsSingle() && !(ofDimension && AreEqual(*ofDimension, unit)))
        return "Unit(" + std::to_string(MembersOf(unit).front().first) + ")";
    return "Unit('" + name + "', '" + std::string(DimensionText(DimensionOf(unit))) + "')";
}

/// What the grammar makes of two units: "(g2)/(Hz)".
CUnitCtrl Joined(const CUnitCtrl& a, const CUnitCtrl& b, bool divides) {
    Members members = MembersOf(a);
    if (AreEqual(a, CUnitCtrl())) members.clear();
    if (!AreEqual(b, CUnitCtrl())) {
        for (const auto& [code, calc] : MembersOf(b))
            members.emplace_back(code, divides ? calc ^ CUnitCtrl::CALC_DIVIDE : calc);
    }
    if (members.size() > 4) {
        throw Error(ErrorKind::kUnsupported,
                    Quote(NameOf(a)) + " and " + Quote(NameOf(b)) + " together have more than four members");
    }
    return members.empty() ? CUnitCtrl() : UnitOfMembers(members);
}

CUnitCtrl Raised(const CUnitCtrl& unit, int power) {
    if (power == 1) return unit;
    Members members = MembersOf(unit);
    const bool squares = power == 2 || power == -2;
    for (auto& [code, calc] : members) {
        if ((!squares && power != -1) || (squares && (calc & CUnitCtrl::CALC_SQUARED) != 0))
            throw Error(ErrorKind::kUnsupported,
                        "units are raised to -2, -1, 1 and 2, and squares to -1 and 1");
        if (squares) calc |= CUnitCtrl::CALC_SQUARED;
        if (power < 0) calc ^= CUnitCtrl::CALC_DIVIDE;
    }
    return UnitOfMembers(members);
}

/// Values of one unit in another, which convert(values, results) makes. A number stays a number, an array
/// becomes one of its shape.
template <class Convert>
py::object Converted(const py::object& values, Convert convert) {
    if (py::isinstance<py::float_>(values) || py::isinstance<py::int_>(values)) {
        double value = py::cast<double>(values);
        convert(std::span<const double>(&value, 1), std::span(&value, 1));
        return py::float_(value);
    }
    const bool isArray =
        py::isinstance<py::array>(values) && py::reinterpret_borrow<py::array>(values).ndim() > 0;
    const py::object array = isArray ? values : py::module_::import("numpy").attr("asarray")(values);
    const bool isNumber = !isArray && py::cast<int>(array.attr("ndim")) == 0;
    const Rows rows(isNumber ? array.attr("reshape")(1) : array, "values");
    py::array_t<double> results = rows.Make<double>(rows.Length());
    const std::span<double> out(results.mutable_data(), rows.All().size());
    Unlocked([&] { convert(rows.All(), out); });
    if (isNumber) return py::float_(out.front());
    return std::move(results);
}

struct Pair {
    EntryUnit from;
    EntryUnit to;
};

/// Two units, of which each may decide what the name of the other means.
Pair PairOf(const py::object& from, const py::object& to) {
    const bool areNames = py::isinstance<py::str>(from) && py::isinstance<py::str>(to);
    if (areNames) {
        try {
            const UnitPair pair = NamedUnitPair(py::cast<std::string>(from), py::cast<std::string>(to));
            return {pair.from, pair.to};
        } catch (const Error&) {
            // One of them may be a unit that the table lacks.
            const auto entryFrom = ParseEntryUnit(WideOf(from, "from_"));
            const auto entryTo = ParseEntryUnit(WideOf(to, "to"));
            if (!entryFrom || !entryTo || !IsConvertible(entryFrom->unit, entryTo->unit)) throw;
            return {*entryFrom, *entryTo};
        }
    }
    Pair pair;
    if (py::isinstance<py::str>(from)) {
        pair.to = UnitOf(to);
        pair.from = EntryUnitOf(from, DimensionOf(pair.to.unit));
    } else {
        pair.from = UnitOf(from);
        pair.to = EntryUnitOf(to, DimensionOf(pair.from.unit));
    }
    if (!IsConvertible(pair.from.unit, pair.to.unit)) {
        Refuse(Quote(NameOf(pair.from.unit)) + " does not convert to " + Quote(NameOf(pair.to.unit)) +
               ": they are of different dimensions");
    }
    return pair;
}

py::object Convert(const Floats& values, const UnitLike& from, const UnitLike& to) {
    const Pair pair = PairOf(from, to);
    return Converted(values, [&](std::span<const double> from, std::span<double> to) {
        const bool areAbsolute = pair.from.unit.IsSingle() != 0;
        std::ranges::transform(from, to.begin(), [&](double value) { return value * pair.from.scale; });
        ToStandard(pair.from.unit, to, areAbsolute);
        ToShown(pair.to.unit, to, areAbsolute);
        if (pair.to.scale == 1.0) return;
        for (double& value : to) value *= 1.0 / pair.to.scale;
    });
}

CUnitCtrl::DIM_CODE RequireDimension(const std::string& name) {
    return *DimensionNamed(name);
}

void BindUnitClass(py::module_& module) {
    py::class_<CUnitCtrl> unit(module, "Unit", R"(A unit, or a compound of up to four: Unit("g2/Hz").

text is read as docs/units.md describes; the dimension decides between units of one name: Unit("g") is an
acceleration, Unit("g", "mass") a mass; a code of the table means its unit. Without a text it is no unit. Units are values: they compare by what they
are made of, and can be keys and be pickled. a*b, a/b and a**2 make compounds.)");
    unit.def(py::init([](const UnitLike& text, const std::optional<std::string>& dimension) {
                 return UnitOf(text, DimensionNamed(dimension));
             }),
             py::arg("text") = "", py::arg("dimension") = py::none());
    unit.def_property_readonly("name", &NameOf,
                               "Its name as plain text, which Unit() reads: \"(m/s2)2/Hz\".");
    unit.def_property_readonly(
        "dimension", [](const CUnitCtrl& self) { return DimensionText(DimensionOf(self)); },
        "The English name of the dimension of its first member: \"acceleration\".");
    unit.def_property_readonly(
        "dimension_display_name",
        [](const CUnitCtrl& self) { return DimensionDisplayName(DimensionOf(self)); },
        "The name of that dimension as the suite's programs show it.");
    unit.def_property_readonly(
        "is_single", [](const CUnitCtrl& self) { return self.IsSingle() != 0; },
        "Whether it is no compound.");
    unit.def_property_readonly(
        "alike", [](const CUnitCtrl& self) { return UnitsAlike(self); },
        "What a selection list offers in its place: its first member in all units of its dimension.");
    unit.def_property_readonly(
        "density",
        [](const CUnitCtrl& self) {
            const auto density = DensityUnit(self);
            if (!density) throw Error(ErrorKind::kUnsupported, Quote(NameOf(self)) + " has no density");
            return *density;
        },
        "Its square per hertz. Raises UnsupportedError for a compound.");
    unit.def(
        "over",
        [](const CUnitCtrl& self, const UnitLike& reference) {
            return TransferUnitOf(self, UnitOf(reference));
        },
        py::arg("reference"), "The unit of a transfer function from a reference to a response in this unit.");
    unit.def(
        "is_convertible",
        [](const CUnitCtrl& self, const UnitLike& other) {
            return IsConvertible(self, UnitOf(other, DimensionOf(self)));
        },
        py::arg("other"), "Whether values of one convert to the other.");
    unit.def(
        "convert",
        [](py::object self, const Floats& values, const UnitLike& to) {
            return Convert(values, py::reinterpret_borrow<UnitLike>(self), to);
        },
        py::arg("values"), py::arg("to"),
        "The values, which are in this unit, in another one; see kvx.convert.");
    unit.def(
        "to_standard",
        [](const CUnitCtrl& self, const Floats& values, bool absolute) {
            return Converted(values, [&](std::span<const double> from, std::span<double> to) {
                self.ConvItoD(to.data(), from.data(), std::ssize(to), 1.0, absolute ? 1 : 0);
            });
        },
        py::arg("values"), py::arg("absolute") = true,
        R"(Values of this unit in the standard unit of its dimension; a number or an array of any shape.

absolute: whether temperatures are absolute, not differences.)");
    unit.def(
        "from_standard",
        [](const CUnitCtrl& self, const Floats& values, bool absolute) {
            return Converted(values, [&](std::span<const double> from, std::span<double> to) {
                self.ConvDtoI(to.data(), from.data(), std::ssize(to), 1.0, absolute ? 1 : 0);
            });
        },
        py::arg("values"), py::arg("absolute") = true, "The inverse of to_standard.");
    unit.def(
        "show",
        [](const CUnitCtrl& self, double value, const std::string& suffix) {
            const auto found = FindSuffix(suffix, self);
            if (!found)
                throw Error(ErrorKind::kUnknownName,
                            "there is no suffix " + Quote(suffix) + ", only none, 0-p, p-p, rms and usual");
            const bool isAbsolute = self.IsSingle() != 0;
            return ShownText(self, self.ConvItoD(value, 1.0, isAbsolute ? 1 : 0),
                             {.suffix = *found, .isAbsolute = isAbsolute, .locale = "C"});
        },
        py::arg("value"), py::arg("suffix") = "none",
        R"(A value of this unit as text with the digits that are customary for it: "12.5 Hz".

suffix: the amplitude that is shown of a zero-to-peak value: "none", "0-p", "p-p" (twice the number), "rms" or
"usual".)");
    unit.def("__str__", &NameOf);
    unit.def("__repr__", &Repr);
    unit.def(
        "__eq__",
        [](const CUnitCtrl& self, const py::object& other) {
            return py::isinstance<CUnitCtrl>(other) && AreEqual(self, py::cast<const CUnitCtrl&>(other));
        },
        py::arg("other"));
    unit.def("__hash__",
             [](const CUnitCtrl& self) { return py::hash(py::cast(MembersOf(self)).attr("__repr__")()); });
    unit.def(
        "__mul__",
        [](const CUnitCtrl& self, const UnitLike& other) { return Joined(self, UnitOf(other), false); },
        py::arg("other"));
    unit.def(
        "__truediv__",
        [](const CUnitCtrl& self, const UnitLike& other) { return Joined(self, UnitOf(other), true); },
        py::arg("other"));
    unit.def("__pow__", &Raised, py::arg("power"));
    unit.def(py::pickle([](const CUnitCtrl& self) { return py::make_tuple(MembersOf(self)); },
                        [](const py::tuple& state) { return UnitOfMembers(state[0].cast<Members>()); }));
}

}  // namespace

CUnitCtrl UnitOf(const py::object& unit, std::optional<CUnitCtrl::DIM_CODE> hint) {
    if (unit.is_none()) return {};
    if (py::isinstance<CUnitCtrl>(unit)) return py::cast<CUnitCtrl>(unit);
    if (py::isinstance<py::int_>(unit)) {
        const auto code = py::cast<std::uint32_t>(unit);
        const CUnitCtrl coded = SingleUnit(CUnitCtrl::UNIT_CODE{code});
        if (UnitParts(coded).front().unit == code) return coded;
        throw Error(ErrorKind::kUnknownName, "there is no unit of the code " + std::to_string(code));
    }
    if (!py::isinstance<py::str>(unit)) Refuse("a unit is a kvx.Unit or its name");
    return NamedUnit(py::cast<std::string>(unit), hint);
}

EntryUnit EntryUnitOf(const py::object& unit, std::optional<CUnitCtrl::DIM_CODE> hint) {
    if (!py::isinstance<py::str>(unit)) return UnitOf(unit);
    if (const auto entry = ParseEntryUnit(WideOf(unit, "unit"), hint)) return *entry;
    return UnitOf(unit);
}

std::string NameOf(const CUnitCtrl& unit) {
    return ToUtf8(PlainUnitName(unit));
}

std::optional<CUnitCtrl::DIM_CODE> DimensionNamed(const std::optional<std::string>& name) {
    if (!name) return std::nullopt;
    const std::vector<CUnitCtrl::DIM_CODE> found = FindDimensions(*name);
    if (found.empty()) throw Error(ErrorKind::kUnknownName, "there is no dimension " + Quote(*name));
    return found.front();
}

void ToShown(const CUnitCtrl& unit, std::span<double> samples, bool areAbsolute) {
    unit.ConvDtoI(samples.data(), samples.data(), std::ssize(samples), 1.0, areAbsolute ? 1 : 0);
}

void ToStandard(const CUnitCtrl& unit, std::span<double> samples, bool areAbsolute) {
    unit.ConvItoD(samples.data(), samples.data(), std::ssize(samples), 1.0, areAbsolute ? 1 : 0);
}

void MarkMissing(std::span<double> samples) {
    for (double& sample : samples) sample = std::isnan(sample) ? kNoValue<double> : sample;
}

void UnmarkMissing(std::span<double> samples) {
    for (double& sample : samples)
        sample = sample == kNoValue<double> ? std::numeric_limits<double>::quiet_NaN() : sample;
}

void BindUnits(py::module_& module) {
    BindUnitClass(module);
    py::class_<EntryUnit>(module, "EntryUnit",
                          "A unit as a file states it: a unit of the table, and a factor to it.")
        .def_readonly("unit", &EntryUnit::unit, "A unit of the table, or a compound of such.")
        .def_readonly("scale", &EntryUnit::scale, "What a value is multiplied by to be in it.")
        .def_property_readonly(
            "converted", [](const EntryUnit& self) { return ToUtf8(self.converted); },
            "What was stated, where unit is another one; else empty.");
    module.def(
        "entry_unit", [](const std::string& text) { return EntryUnitOf(py::str(text)); }, py::arg("text"),
        R"(A unit as recordings of other makers state it, those that the table lacks among them: "psi", "mm/s2".

Raises UnknownNameError for text that is none.)");
    module.def(
        "convert", &Convert, py::arg("values"), py::arg("from_"), py::arg("to"),
        R"(Values of one unit in another, a number or an array of any shape; temperatures of single units are absolute.

Where one name means several units, the other one decides: convert(1, "g", "kg") is of masses. Units that the table
lacks do as well: convert(14.5, "psi", "kPa"). Raises BadValueError for units of different dimensions.)");
    module.def(
        "units",
        [](const std::optional<std::string>& dimension) {
            std::vector<CUnitCtrl> units;
            const auto one = DimensionNamed(dimension);
            for (const auto dim : one ? std::vector{*one} : AllDimensions())
                for (const CUnitCtrl& unit : UnitsOf(dim)) units.push_back(unit);
            return units;
        },
        py::arg("dimension") = py::none(),
        "All units, or those of a dimension, in the order of selection lists.");
    module.def(
        "find_units",
        [](const std::string& name) {
            std::vector<CUnitCtrl> units;
            for (const auto code : FindUnit(FromUtf8Replacing(name))) units.push_back(SingleUnit(code));
            return units;
        },
        py::arg("name"),
        "Every unit of that name: \"g\" is an acceleration and a mass. Empty for an unknown one.");
    module.def(
        "dimensions",
        [](const std::optional<std::string>& text) {
            std::vector<std::string> names;
            for (const auto dim : text ? FindDimensions(*text) : AllDimensions())
                names.emplace_back(DimensionText(dim));
            return names;
        },
        py::arg("text") = py::none(),
        "All dimensions by their English names, or those that a text means: their own name or that of a "
        "unit.");
    module.def(
        "standard_unit", [](const std::string& dimension) { return CUnitCtrl(RequireDimension(dimension)); },
        py::arg("dimension"), "The unit in which the library keeps values of a dimension.");
    module.def(
        "parse_heading",
        [](const std::string& text) {
            const UnitHeading heading = ParseUnitHeading(FromUtf8Replacing(text));
            return std::make_tuple(ToUtf8(heading.name), heading.unit, ToUtf8(heading.unknownUnit));
        },
        py::arg("text"),
        R"(The heading of a column, "top [m/s2]", as (name, unit, unknown).

unit is None where there is none, and unknown what stands in its place.)");
    module.def(
        "column_heading",
        [](const std::string& name, const UnitLike& unit, const std::string& suffix) {
            const CUnitCtrl of = UnitOf(unit);
            const auto found = FindSuffix(suffix, of);
            if (!found) throw Error(ErrorKind::kUnknownName, "there is no suffix " + Quote(suffix));
            return ColumnHeading(name, of, *found);
        },
        py::arg("name"), py::arg("unit"), py::arg("suffix") = "none",
        "The heading of a column of values: \"peak [g 0-p]\".");
}

}  // namespace kvx::python
