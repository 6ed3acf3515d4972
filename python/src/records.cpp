// SPDX-License-Identifier: MIT
#include "records.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/files/Channels.h>
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/files/RecordFigures.h>
#include <KvxDevCommon01/files/RecordSamples.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>

#include "units.h"

namespace kvx::python {
namespace {

std::vector<std::string> Utf8(const CStringArray& names) {
    std::vector<std::string> texts;
    for (const std::wstring& name : names) texts.push_back(ToUtf8(name));
    return texts;
}

CUnitCtrl AxisUnit(const std::string& axis) {
    if (axis == "time") return SingleUnit(kAxisMilliseconds);
    if (axis == "frequency") return SingleUnit(kAxisHertz);
    throw Error(ErrorKind::kUnknownName, "there is no axis " + Quote(axis) + ", only time and frequency");
}

/// The parts of the rows of an array in a record that was made for them.
template <typename Number>
void Fill(CComDataBase& record, const RowsOf<Number>& rows, const CUnitCtrl& unit) {
    for (std::size_t r = 0; r < rows.Count(); ++r) {
        const auto row = static_cast<__int64>(r);
        const std::span<const Number> from = rows.Row(r);
        const std::span<double> real = Samples(record, row, 0);
        if constexpr (std::is_same_v<Number, double>) {
            std::ranges::copy(from, real.begin());
        } else {
            const std::span<double> imaginary = ImaginarySamples(record, row, 0);
            for (std::size_t i = 0; i < from.size(); ++i) {
                real[i] = from[i].real();
                imaginary[i] = from[i].imag();
            }
            MarkMissing(imaginary);
            ToStandard(unit, imaginary, false);
        }
        MarkMissing(real);
        ToStandard(unit, real, std::is_same_v<Number, double> && unit.IsSingle());
    }
}

template <typename Number>
RecordPointer RecordOf(const RowsOf<Number>& rows, std::optional<double> spacing,
                       const std::optional<ArrayLike>& places, const CUnitCtrl& unit, const CUnitCtrl& axis,
                       __int64 offset, const CStringArray& names) {
    const auto count = static_cast<__int64>(rows.Count());
    const auto samples = static_cast<__int64>(rows.Length());
    constexpr int isComplex = std::is_same_v<Number, double> ? 0 : 1;
    if (count < 1 || samples < 1) Refuse("samples is empty");
    auto record = std::make_shared<CComDataBase>();
    int isMade = 0;
    if (places) {
        const std::vector<double> numbers = NumbersOf(*places, "places");
        if (std::ssize(numbers) != samples) Refuse("places and samples are not equally long");
        CDataArrayDouble array;
        if (!array.SetData(samples, numbers.data())) throw std::bad_alloc();
        isMade = record->Create(count, 1, isComplex, axis, unit, array, &names, nullptr);
    } else {
        if (!spacing || !IsEvenAxis(*spacing, offset, samples))
            Refuse("spacing is what samples are apart, above 0");
        isMade = record->Create(*spacing, count, 1, samples, offset, isComplex, axis, unit, &names, nullptr);
    }
    if (!isMade) throw std::bad_alloc();
    Unlocked([&] { Fill(*record, rows, unit); });
    return record;
}

RecordPointer MakeRecord(const ArrayLike& samples, std::optional<double> spacing, const UnitLike& unit,
                         const Listed& names, const std::string& axis, __int64 offset,
                         const std::optional<ArrayLike>& places) {
    CStringArray wide;
    for (const py::object& name : PiecesOf(names)) wide.push_back(WideOf(name, "a name"));
    const CUnitCtrl of = UnitOf(unit);
    const auto given = places && !places->is_none() ? places : std::nullopt;
    if (IsComplex(samples))
        return RecordOf(ComplexRows(samples, "samples"), spacing, given, of, AxisUnit(axis), offset, wide);
    return RecordOf(Rows(samples, "samples"), spacing, given, of, AxisUnit(axis), offset, wide);
}

/// The samples of a cell in the library's own memory.
py::array_t<double> View(const py::object& self, __int64 row, __int64 column, bool isImaginary) {
    auto& record = py::cast<CComDataBase&>(self);
    const std::span<double> samples =
        isImaginary ? ImaginarySamples(record, row, column) : Samples(record, row, column);
    if (samples.empty()) {
        Refuse("the record has no " + std::string(isImaginary ? "imaginary " : "") + "samples in row " +
               std::to_string(row) + ", column " + std::to_string(column));
    }
    return ViewOf(samples, self);
}

py::array SamplesOf(const CComDataBase& record, __int64 row, __int64 column) {
    const std::span<const double> real = Samples(record, row, column);
    if (real.empty())
        Refuse("the record has no row " + std::to_string(row) + ", column " + std::to_string(column));
    const std::span<const double> imaginary = ImaginarySamples(record, row, column);
    const auto shown = [&](std::span<const double> from) {
        std::vector<double> numbers(from.begin(), from.end());
        ToShown(record.GetUnit(), numbers, imaginary.empty() && record.GetUnit().IsSingle());
        for (std::size_t i = 0; i < from.size(); ++i)
            if (from[i] == kNoValue<double>) numbers[i] = kNoValue<double>;
        UnmarkMissing(numbers);
        return numbers;
    };
    if (imaginary.empty()) return ArrayOf(Unlocked([&] { return shown(real); }));
    const auto parts = Unlocked([&] { return std::make_pair(shown(real), shown(imaginary)); });
    return ComplexArrayOf(parts.first, parts.second);
}

py::array AxisOf(const py::object& self) {
    auto& record = py::cast<CComDataBase&>(self);
    if (CDataArrayDouble* const listed = record.GetHData()) return ViewOf(Samples(*listed), self);
    return Ramp(static_cast<std::size_t>(record.GetNsamp()), record.GetDelta(),
                static_cast<double>(record.GetOffset()) * record.GetDelta());
}

RecordOutline OutlineOf(const CComDataBase& record) {
    RecordOutline outline;
    outline.fields.mode = record.GetDataMode();
    outline.fields.hunit = record.GetHUnit();
    outline.fields.delta = record.GetDelta();
    outline.isComplex = record.GetImaginary(0, 0) != nullptr;
    return outline;
}

void BindRecord(py::module_& module) {
    py::class_<CComDataBase, RecordPointer> record(
        module, "Record",
        R"(Equally long signals or spectra on one axis, as data files hold them: cells in rows and columns.

samples: (samples,) or (rows, samples), real or complex, in `unit`; NaN is a missing value
spacing: of samples, s or Hz
names:   of the rows
axis:    "time" or "frequency"
offset:  sample i stands at (offset + i) spacing
places:  where each sample stands, in s or Hz, instead of spacing

view() shows the record's own memory, in the standard unit; samples() converts.)");
    record.def(py::init(&MakeRecord), py::arg("samples"), py::arg("spacing") = py::none(),
               py::arg("unit") = "", py::arg("names") = py::none(), py::arg("axis") = "time",
               py::arg("offset") = 0, py::arg("places") = py::none());
    record.def_property_readonly(
        "rows", [](const CComDataBase& self) { return Utf8(self.GetRowName()); }, "Names of the rows.");
    record.def_property_readonly(
        "columns", [](const CComDataBase& self) { return Utf8(self.GetColName()); }, "Names of the columns.");
    record.def_property_readonly(
        "unit", [](const CComDataBase& self) { return self.GetUnit(); },
        "The unit in which the values are shown.");
    record.def_property_readonly(
        "axis_unit", [](const CComDataBase& self) { return self.GetHUnit(); },
        "The unit in which the axis is shown; its numbers are in the standard unit, s or Hz.");
    record.def_property_readonly(
        "spacing",
        [](const CComDataBase& self) -> std::optional<double> {
            return self.GetDataMode() == CComDataBase::MODE_SPACING ? std::optional(self.GetDelta())
                                                                    : std::nullopt;
        },
        "Of samples, s or Hz; None where each has a place of its own.");
    record.def_property_readonly(
        "offset", [](const CComDataBase& self) { return self.GetOffset(); },
        "Sample i stands at (offset + i) spacing.");
    record.def_property_readonly("axis", &AxisOf,
                                 "Where the samples stand, s or Hz; a view where the record lists them.");
    record.def_property_readonly(
        "is_complex", [](const CComDataBase& self) { return self.GetImaginary(0, 0) != nullptr; },
        "Whether samples have imaginary parts.");
    record.def_property_readonly(
        "kind", [](const CComDataBase& self) { return RecordType(OutlineOf(self)); },
        "\"time waveform\", \"complex spectrum\" and so on.");
    record.def(
        "view",
        [](const py::object& self, __int64 row, __int64 column) { return View(self, row, column, false); },
        py::arg("row") = 0, py::arg("column") = 0,
        "The real samples of a cell in the record's memory, in the standard unit, without a copy; writing "
        "changes the record.");
    record.def(
        "imaginary_view",
        [](const py::object& self, __int64 row, __int64 column) { return View(self, row, column, true); },
        py::arg("row") = 0, py::arg("column") = 0, "The imaginary samples of a cell, as view.");
    record.def(
        "samples", &SamplesOf, py::arg("row") = 0, py::arg("column") = 0,
        "The samples of a cell in `unit`, complex where there are imaginary parts; NaN for missing ones.");
    record.def(
        "__len__", [](const CComDataBase& self) { return self.GetNsamp(); }, "Samples of each cell.");
    record.def("__repr__", [](const CComDataBase& self) {
        return "<kvx.Record: " + std::string(RecordType(OutlineOf(self))) + ", " +
               Count(self.GetNumRow(), "row") + " of " + Count(self.GetNsamp(), "sample") + " in " +
               Quote(NameOf(self.GetUnit())) + ">";
    });
}

RecordPointer RecordAt(const ContentPointer& content, std::size_t index) {
    return {content, &content->records[index]};
}

void BindDataFile(py::module_& module) {
    py::class_<DataFileContent, ContentPointer> file(
        module, "DataFile",
        R"(What a data file (.vdf2) holds: free text and records. Its records live as long as anything shows them.

The records are copied.)");
    file.def(py::init([](const std::vector<RecordPointer>& records, const std::string& text) {
                 auto content = std::make_shared<DataFileContent>(DataFileContent{HeaderOf(text), {}});
                 for (const RecordPointer& record : records) {
                     content->records.push_back(*Required(record));
                 }
                 return content;
             }),
             py::arg("records"), py::arg("text") = "");
    file.def_property_readonly(
        "text", [](const DataFileContent& self) { return ToUtf8(self.header.GetName()); }, "The free text.");
    file.def_property_readonly(
        "records",
        [](const ContentPointer& self) {
            std::vector<RecordPointer> records;
            for (std::size_t r = 0; r < Required(self)->records.size(); ++r)
                records.push_back(RecordAt(self, r));
            return records;
        },
        "The records; no copies.");
    file.def_property_readonly(
        "channels", [](const DataFileContent& self) { return Utf8(NamesOf(ListChannels(self))); },
        "Names of the cells of all records.");
    file.def(
        "store",
        [](const DataFileContent& self, const PathLike& path) {
            const std::string name = PathOf(path);
            UnlockedOn(name, [&] { StoreDataFile(WidePath(name), self); });
        },
        py::arg("path"), "Writes a data file, replacing one only when everything was written.");
    file.def("__len__", [](const DataFileContent& self) { return self.records.size(); });
    file.def(
        "__getitem__",
        [](const ContentPointer& self, py::ssize_t index) {
            const py::ssize_t count = std::ssize(Required(self)->records);
            if (index < 0) index += count;
            if (index < 0 || index >= count) throw py::index_error("there is no such record");
            return RecordAt(self, static_cast<std::size_t>(index));
        },
        py::arg("index"));
    module.def(
        "load",
        [](const PathLike& path) {
            const std::string name = PathOf(path);
            return UnlockedOn(
                name, [&] { return std::make_shared<DataFileContent>(LoadDataFile(WidePath(name))); });
        },
        py::arg("path"),
        "Loads a data file of either generation as a whole; open() reads one of any length block by block.");
}

}  // namespace

CComHdr HeaderOf(const std::string& text) {
    return {CComHdr::EXT_INFO_VIB_DATA, FromUtf8Replacing(text).c_str()};
}

void BindRecords(py::module_& module) {
    BindRecord(module);
    BindDataFile(module);
}

}  // namespace kvx::python
